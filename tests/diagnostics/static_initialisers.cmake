# Lists the functions that run when LIBRARY is loaded, with NM. Only the file of the header-name constants
# may have some, the constants themselves at the first priority open to programs. Priorities before that
# are the compiler's own.
execute_process(COMMAND ${NM} ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "_GLOBAL__(sub_)?I[^\n]*" initialisers "${symbols}")
set(constants FALSE)
foreach(initialiser IN LISTS initialisers)
    if(initialiser MATCHES "^_GLOBAL__(sub_)?I[._]0*101")
        set(constants TRUE)
    elseif(NOT initialiser MATCHES "^_GLOBAL__(sub_)?I[._]000[0-9][0-9]_" AND
           NOT initialiser STREQUAL "_GLOBAL__sub_I_HttpHeaders.cpp")
        message(SEND_ERROR "${LIBRARY} has a static initialiser: ${initialiser}")
    endif()
endforeach()
if(NOT constants)
    message(SEND_ERROR "The initialiser of the header-name constants was not found in ${LIBRARY}")
endif()
