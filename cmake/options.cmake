# Warnings, sanitizers and build speed: what every target shares.
option(PANEDECK_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(PANEDECK_BENCH "Build the benchmarks" OFF)
option(PANEDECK_INSTALL "Make the rules of installing and packing" ${PROJECT_IS_TOP_LEVEL})
option(PANEDECK_PAGE "Build the page with everything else; needs Node.js" OFF)
set(PANEDECK_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them")

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# Release keeps line tables: a profiler's users read profiles of it, and a log line names its file.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")

# Where the sources are, seen from the build: a compiler cache may call the compiler with such names.
file(RELATIVE_PATH PANEDECK_SOURCE_FROM_BUILD ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" PANEDECK_SOURCE_FROM_BUILD "${PANEDECK_SOURCE_FROM_BUILD}")

add_library(panedeck_flags INTERFACE)
target_compile_options(panedeck_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Werror
    # Files name themselves relative to the source tree, so that no log line holds a path of the builder.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-prefix-map=${PANEDECK_SOURCE_FROM_BUILD}/=)

if(PANEDECK_SANITIZE)
    target_compile_options(panedeck_flags INTERFACE
        -fsanitize=${PANEDECK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(panedeck_flags INTERFACE -fsanitize=${PANEDECK_SANITIZE})
    if(PANEDECK_SANITIZE MATCHES "thread")
        # Asio and the standard library fence with std::atomic_thread_fence in places that this
        # sanitizer does not model; g++ warns of each use although none is ours.
        target_compile_options(panedeck_flags INTERFACE -Wno-tsan)
        # With its calls in between, g++ 12 takes the lengths of vectors that are compared for negative.
        target_compile_options(panedeck_flags INTERFACE -Wno-stringop-overread)
    endif()
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_NOHASHDIR=1
        ${CCACHE_PROGRAM})
endif()
