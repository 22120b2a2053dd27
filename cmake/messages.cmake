# The message catalogs: config/messages/LANGUAGE/LC_MESSAGES/NAME.po, compiled to .mo beside the programs of the build,
# where they are found as an installation's are.
find_program(PANEDECK_MSGFMT msgfmt REQUIRED)
set(PANEDECK_BUILT_MESSAGES ${PROJECT_BINARY_DIR}/share/panedeck/messages)

set(message_sources ${PROJECT_SOURCE_DIR}/config/messages)
file(GLOB_RECURSE catalogs CONFIGURE_DEPENDS RELATIVE ${message_sources} ${message_sources}/*.po)
set(compiled_catalogs)
foreach(catalog ${catalogs})
    string(REGEX REPLACE "\\.po$" ".mo" compiled ${PANEDECK_BUILT_MESSAGES}/${catalog})
    cmake_path(GET compiled PARENT_PATH folder)
    add_custom_command(OUTPUT ${compiled}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND ${PANEDECK_MSGFMT} --check-format --output-file=${compiled} ${message_sources}/${catalog}
        DEPENDS ${message_sources}/${catalog} COMMENT "Compiling the messages ${catalog}" VERBATIM)
    list(APPEND compiled_catalogs ${compiled})
endforeach()
add_custom_target(panedeck_messages ALL DEPENDS ${compiled_catalogs})
