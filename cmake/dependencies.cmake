# Libraries from the distribution. Boost 1.81 by name: 1.74's Asio does not compile as C++20.
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS thread regex filesystem locale)
find_package(TBB REQUIRED)
find_package(EXPAT REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(ZLIB REQUIRED)
find_package(fmt REQUIRED)
find_package(CLI11 REQUIRED)
find_package(RapidJSON REQUIRED)

find_path(LOG4CPLUS_INCLUDE_DIR log4cplus/logger.h REQUIRED)
find_library(LOG4CPLUS_LIBRARY log4cplus REQUIRED)
add_library(log4cplus INTERFACE)
target_include_directories(log4cplus SYSTEM INTERFACE ${LOG4CPLUS_INCLUDE_DIR})
target_link_libraries(log4cplus INTERFACE ${LOG4CPLUS_LIBRARY})

find_path(SODIUM_INCLUDE_DIR sodium.h REQUIRED)
find_library(SODIUM_LIBRARY sodium REQUIRED)
add_library(sodium INTERFACE)
target_include_directories(sodium SYSTEM INTERFACE ${SODIUM_INCLUDE_DIR})
target_link_libraries(sodium INTERFACE ${SODIUM_LIBRARY})

find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED)
find_library(XXHASH_LIBRARY xxhash REQUIRED)
add_library(xxhash INTERFACE)
target_include_directories(xxhash SYSTEM INTERFACE ${XXHASH_INCLUDE_DIR})
target_link_libraries(xxhash INTERFACE ${XXHASH_LIBRARY})

add_library(rapidjson INTERFACE)
target_include_directories(rapidjson SYSTEM INTERFACE ${RAPIDJSON_INCLUDE_DIRS})
# Parsing by iteration everywhere: the recursive reader's stack is at the mercy of the input.
target_compile_definitions(rapidjson INTERFACE RAPIDJSON_HAS_STDSTRING=1)

add_library(boost_asio INTERFACE)
target_link_libraries(boost_asio INTERFACE Boost::headers Boost::thread Threads::Threads)
target_compile_definitions(boost_asio INTERFACE BOOST_BIND_GLOBAL_PLACEHOLDERS)
