# The installed package: find_package(foundation_httpclient [COMPONENTS core curl]) and, for the core
# and the transport, a pkg-config file each.
include(CMakePackageConfigHelpers)

set(FOUNDATION_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/foundation_httpclient)

# foundation_install(TARGET COMPONENT DESCRIPTION [REQUIRES pkg-config-module...])
function(foundation_install target component description)
    cmake_parse_arguments(PARSE_ARGV 3 arg "" "" "REQUIRES")
    # The libraries find each other wherever the prefix is moved.
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${target} EXPORT foundation_httpclient_${component}
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(EXPORT foundation_httpclient_${component}
            NAMESPACE foundation::
            FILE foundation_httpclient_${component}Targets.cmake
            DESTINATION ${FOUNDATION_PACKAGE_DIR})

    set(PACKAGE_NAME foundation_${target})
    set(PACKAGE_DESCRIPTION "${description}")
    list(JOIN arg_REQUIRES " " PACKAGE_REQUIRES)
    file(RELATIVE_PATH PACKAGE_PREFIX_PATH
         ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/package.pc.in
                   ${PROJECT_BINARY_DIR}/foundation_${target}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/foundation_${target}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

foundation_install(httpclient_core core "The core of an HTTP client interface")
if(TARGET httpclient_curl)
    foundation_install(httpclient_curl curl "A transport on libcurl for the HTTP client interface"
                       REQUIRES foundation_httpclient_core)
endif()
if(TARGET httpclient)
    file(RELATIVE_PATH bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(httpclient PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
    install(TARGETS httpclient RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/foundation_httpclientConfig.cmake.in
    ${PROJECT_BINARY_DIR}/foundation_httpclientConfig.cmake
    INSTALL_DESTINATION ${FOUNDATION_PACKAGE_DIR}
    NO_SET_AND_CHECK_MACRO)
# Before 1.0 a minor version may break its callers.
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/foundation_httpclientConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/foundation_httpclientConfig.cmake
              ${PROJECT_BINARY_DIR}/foundation_httpclientConfigVersion.cmake
        DESTINATION ${FOUNDATION_PACKAGE_DIR})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
