# Tells ctest of a program's tests, one for each suite. Read by ctest, once the program is built, with
# program   the program
# folder    where its tests run
# labels    of its tests
# cost      of each: the dearest begin first
get_filename_component(name "${program}" NAME)
if(NOT EXISTS "${program}")
    add_test("${name}_NOT_BUILT" "${program}")
    return()
endif()
set(list "${folder}/${name}.suites")
if("${program}" IS_NEWER_THAN "${list}")
    execute_process(COMMAND "${program}" --gtest_list_tests OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE "${list}" "${listed}")
endif()
# A suite begins its line, "URLTest." or "ValueTest/0.  # TypeParam = URL"; its tests are indented.
file(STRINGS "${list}" lines REGEX "^[^ ]+[.]")
if(NOT lines)
    message(FATAL_ERROR "${program} lists no tests")
endif()
foreach(line IN LISTS lines)
    string(REGEX REPLACE "[.].*" "" suite "${line}")
    add_test("${name}.${suite}" "${program}" "--gtest_filter=${suite}.*")
    set_tests_properties("${name}.${suite}" PROPERTIES TIMEOUT 300 LABELS "${labels}" COST ${cost}
                         WORKING_DIRECTORY "${folder}")
endforeach()
