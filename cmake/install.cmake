# What `cmake --install` lays down, in three components: the libraries that a host needs to run, what it needs to be
# built, and our programs with the page.
include(CMakePackageConfigHelpers)

set(PANEDECK_LIBRARIES panedeck_platform panedeck panedeck_engine)

install(TARGETS ${PANEDECK_LIBRARIES} EXPORT panedeck-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)

# The engine shows few of its headers: how to open and import. The other two rooms are their headers.
foreach(folder include platform)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/ DESTINATION ${PANEDECK_INSTALL_HEADERS}
        COMPONENT development FILES_MATCHING PATTERN "*.h")
endforeach()
foreach(header open_result.h import/import_profile.h import/import_limits.h import/import_report.h
        store/profile_data.h store/result_directory.h)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/engine/${header} DESTINATION ${PANEDECK_INSTALL_HEADERS}/${folder}
        COMPONENT development)
endforeach()

install(EXPORT panedeck-targets NAMESPACE panedeck:: DESTINATION ${PANEDECK_INSTALL_CMAKE} COMPONENT development)
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/panedeck-config.cmake.in ${PROJECT_BINARY_DIR}/panedeck-config.cmake
    INSTALL_DESTINATION ${PANEDECK_INSTALL_CMAKE})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/panedeck-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/panedeck-config.cmake ${PROJECT_BINARY_DIR}/panedeck-config-version.cmake
    DESTINATION ${PANEDECK_INSTALL_CMAKE} COMPONENT development)

# panedeck_pkg_config(MODULE LIBRARY DESCRIPTION REQUIRED): the module finds its prefix from where it lies.
function(panedeck_pkg_config module library description required)
    set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    file(RELATIVE_PATH prefix_from_module /${folder} /)
    string(REGEX REPLACE "/$" "" prefix_from_module "${prefix_from_module}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/module.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${folder} COMPONENT development)
endfunction()
panedeck_pkg_config(panedeck-platform panedeck_platform "The ground that panedeck stands on" "")
panedeck_pkg_config(panedeck panedeck "${PROJECT_DESCRIPTION}" panedeck-platform)
panedeck_pkg_config(panedeck-engine panedeck_engine "The data provider for profile files" panedeck-platform)

install(TARGETS panedeck-host panedeck-guiserver panedeck_cli
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT programs)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/config ${PROJECT_SOURCE_DIR}/samples
    DESTINATION ${PANEDECK_INSTALL_DATA} COMPONENT programs PATTERN "*.po" EXCLUDE)
install(DIRECTORY ${PANEDECK_BUILT_MESSAGES} DESTINATION ${PANEDECK_INSTALL_DATA}/config COMPONENT programs)
install(CODE "if(NOT EXISTS \"${PROJECT_SOURCE_DIR}/web/dist/index.html\")
    message(FATAL_ERROR \"The page is not built: cmake --build . --target panedeck_page\")
endif()" COMPONENT programs)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/web/dist/ DESTINATION ${PANEDECK_INSTALL_DATA}/web COMPONENT programs)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/help DESTINATION ${PANEDECK_INSTALL_DATA}/web COMPONENT programs)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

set(page_in_all)
if(PANEDECK_PAGE)
    set(page_in_all ALL)
endif()
add_custom_target(panedeck_page ${page_in_all}
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/build_page.sh COMMENT "Building the page" USES_TERMINAL VERBATIM)
