# A room is a folder that builds one target. panedeck_sources collects the sources of a room, so that a
# new file needs no edit here; the configure step runs again when a file appears.
function(panedeck_sources result)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    list(FILTER found EXCLUDE REGEX "/main\\.cpp$")
    set(${result} ${found} PARENT_SCOPE)
endfunction()

# One shared library of ours: hidden symbols by default, the room's folder as its public include root. Others link it as
# panedeck::NAME, from an installation as from a build.
function(panedeck_library target name include_root)
    panedeck_sources(sources)
    add_library(${target} SHARED ${sources})
    add_library(panedeck::${name} ALIAS ${target})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${include_root}> $<INSTALL_INTERFACE:${PANEDECK_INSTALL_HEADERS}>)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_link_libraries(${target} PRIVATE panedeck_flags)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN")
    # A symbol that nothing defines is an error here, not when a program starts.
    if(NOT PANEDECK_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()

# One of our programs, which finds our libraries beside itself wherever both are moved to.
function(panedeck_program target)
    add_executable(${target} main.cpp)
    target_link_libraries(${target} PRIVATE panedeck_flags ${ARGN})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${PANEDECK_LIBRARIES_FROM_PROGRAMS}")
endfunction()
