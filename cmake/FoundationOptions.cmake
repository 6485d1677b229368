# Compiler warnings and sanitizers for this project's own targets. Kept in an INTERFACE target that is
# linked PRIVATE, so that nothing reaches the programs that use the library.
add_library(foundation_private_options INTERFACE)
target_compile_options(foundation_private_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wold-style-cast -Wnull-dereference -Wformat=2 -Wundef
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast>
    $<$<CXX_COMPILER_ID:Clang>:-Wdocumentation -Wextra-semi -Wthread-safety>
    $<$<BOOL:${FOUNDATION_WARNINGS_AS_ERRORS}>:-Werror>)

if(FOUNDATION_SANITIZE)
    # Global on purpose: every object of a program must agree on its sanitizers.
    add_compile_options(-fsanitize=${FOUNDATION_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${FOUNDATION_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        add_compile_options(-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/wrapping-arithmetic.txt)
    endif()
else()
    # A sanitizer's runtime is resolved at run time with clang, so the check is for plain builds only.
    set(FOUNDATION_NO_UNDEFINED "-Wl,--no-undefined")
endif()

if(FOUNDATION_BUILD_FUZZERS)
    # The fuzzer sees which branches are taken in what is compiled so. Its main() is linked to the targets only.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(FOUNDATION_DEBUG_CONTAINERS)
    # Global on purpose: these containers have other layouts than those of programs without it.
    add_compile_definitions(_GLIBCXX_DEBUG)
endif()

if(FOUNDATION_COVERAGE)
    # Global on purpose: functions in headers are counted where tests call them. Atomic, since threads of a
    # test pass the same counters.
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc
                        -fprofile-update=atomic)
    add_link_options(-fprofile-instr-generate)
endif()

# A defect that slips through is to end the program, not to be used: guarded stacks and control flow,
# checked buffers and indices where the compiler optimises, and tables of addresses that are read-only
# from the start on. Costs a few hundredths of the time. Linked PRIVATE, like the warnings.
if(NOT FOUNDATION_SANITIZE)
    set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
    target_compile_options(foundation_private_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection=full>
        $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=3>
        $<${optimised}:-D_GLIBCXX_ASSERTIONS>)
    target_link_options(foundation_private_options INTERFACE
        -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

# foundation_use_test_options(): what a folder of tests is compiled with, the same for all that share precompiled headers.
# Sanitizers make the checks of the tests slow to optimise, and nothing is gained by it. Nor by optimising those of checked
# containers, and g++ then takes their bytes for uninitialised. A macro, since options belong to the folder that calls it.
macro(foundation_use_test_options)
    if(FOUNDATION_SANITIZE OR FOUNDATION_DEBUG_CONTAINERS)
        add_compile_options(-O0)
    endif()
    if(FOUNDATION_SANITIZE)
        add_compile_definitions(FOUNDATION_SANITIZED)
    endif()
endmacro()

# foundation_limit_exports(TARGET): the shared library shows names of this project only. Not with
# sanitizers, which compare type descriptions across libraries by address.
function(foundation_limit_exports target)
    if(NOT FOUNDATION_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    endif()
endfunction()

# foundation_join_sources(TARGET): with FOUNDATION_JOIN_SOURCES the sources of each folder are compiled as one. Most of
# a compiler's time goes into the headers of other libraries, once for each source.
function(foundation_join_sources target)
    if(NOT FOUNDATION_JOIN_SOURCES)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        cmake_path(GET source PARENT_PATH folder)
        string(MAKE_C_IDENTIFIER "${folder}" group)
        set_property(SOURCE ${source} TARGET_DIRECTORY ${target} PROPERTY UNITY_GROUP ${group})
    endforeach()
endfunction()
