# Runs PROGRAM and compares all it printed.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE output ERROR_VARIABLE errors
                RESULT_VARIABLE result)
string(CONCAT expected
    "record: InMain not found.\n"
    "error: InMain not found.\n"
    "record: BeforeTheEndOfTheChannel not found.\n"
    "error: BeforeTheEndOfTheChannel not found.\n"
    "error: AfterTheChannel not found.\n")
if(NOT result STREQUAL "0" OR NOT errors STREQUAL "" OR NOT output STREQUAL expected)
    message(FATAL_ERROR "${PROGRAM} ended with ${result} and printed\n${output}${errors}\n"
                        "instead of\n${expected}")
endif()
