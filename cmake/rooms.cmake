# A room is a folder that builds one target. panedeck_sources collects the sources of a room, so that a
# new file needs no edit here; the configure step runs again when a file appears.
function(panedeck_sources result)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    list(FILTER found EXCLUDE REGEX "/main\\.cpp$")
    set(${result} ${found} PARENT_SCOPE)
endfunction()

# One shared library of ours: hidden symbols by default, the room's folder as its public include root.
function(panedeck_library target include_root)
    panedeck_sources(sources)
    add_library(${target} SHARED ${sources})
    target_include_directories(${target} PUBLIC ${include_root})
    target_link_libraries(${target} PRIVATE panedeck_flags)
    # A symbol that nothing defines is an error here, not when a program starts.
    if(NOT PANEDECK_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
