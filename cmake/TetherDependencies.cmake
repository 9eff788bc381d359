# Every dependency comes from Debian's packages; scripts/setup.sh installs them.
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)
# The Farside service and its client speak HTTP with cpp-httplib.
pkg_check_modules(CPPHTTPLIB REQUIRED IMPORTED_TARGET cpp-httplib)
find_package(pugixml REQUIRED)
find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)

add_library(tether_rapidjson INTERFACE)
target_include_directories(tether_rapidjson SYSTEM INTERFACE "${RAPIDJSON_INCLUDE_DIR}")
# std::string keys and values are handed to RapidJSON directly.
target_compile_definitions(tether_rapidjson INTERFACE RAPIDJSON_HAS_STDSTRING=1)

if(TETHER_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()
if(TETHER_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
