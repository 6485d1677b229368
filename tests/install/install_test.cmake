# Run by ctest with cmake -P; tests/install/CMakeLists.txt gives the variables.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${status}\n${output}")
    endif()
    set(run_output "${output}" PARENT_SCOPE)
endfunction()

function(require_contains text expected)
    string(FIND "${text}" "${expected}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "expected to read '${expected}' in:\n${text}")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/installed)
# Moved afterwards: nothing installed may remember where it was.
set(prefix ${WORK_DIR}/elsewhere)
file(RENAME ${WORK_DIR}/installed ${prefix})

# No leftover of the build may reach a user of the package.
file(GLOB_RECURSE installed ${prefix}/*.cmake ${prefix}/*.pc)
foreach(file IN LISTS installed)
    file(READ ${file} text)
    string(FIND "${text}" "${BUILD_DIR}" at)
    if(NOT at EQUAL -1)
        message(FATAL_ERROR "${file} names the build folder")
    endif()
endforeach()

set(configure ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}
    -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_PREFIX_PATH=${prefix})
run(${configure} -B ${WORK_DIR}/consumer -DWITH_CURL=${CURL})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/core_consumer)
require_contains("${run_output}" "core consumer: 2 attempts, body \"Hello\"")
if(CURL)
    run(${WORK_DIR}/consumer/curl_consumer)
    require_contains("${run_output}" "curl consumer: refused as expected")
endif()

# A component that does not exist is refused.
execute_process(COMMAND ${configure} -B ${WORK_DIR}/refused -DEXTRA_COMPONENT=nonesuch
                RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(status EQUAL 0)
    message(FATAL_ERROR "find_package accepts a component that does not exist")
endif()
require_contains("${output}" "nonesuch")

# The same program through pkg-config.
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs foundation_httpclient_core)
separate_arguments(options UNIX_COMMAND "${run_output}")
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
run(${COMPILER} ${flags} -std=c++20 ${CONSUMER_DIR}/core_consumer.cpp -o ${WORK_DIR}/plain ${options}
    -Wl,-rpath,${prefix}/${LIBDIR})
run(${WORK_DIR}/plain)
require_contains("${run_output}" "core consumer: 2 attempts")

if(TOOL)
    run(${prefix}/bin/httpclient --help)
    require_contains("${run_output}" "httpclient")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
