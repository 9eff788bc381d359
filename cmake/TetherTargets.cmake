# Warnings apply to our own code only; third-party headers are included as SYSTEM.
# They are errors in the presets and in CI, where the compilers are known; a
# plain configure (a distribution's or a consumer's, with a newer compiler and
# new warnings) builds with them as warnings.
option(TETHER_WARNINGS_AS_ERRORS "Treat compiler warnings in our own code as errors" OFF)
add_library(tether_warnings INTERFACE)
target_compile_options(tether_warnings INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra $<$<BOOL:${TETHER_WARNINGS_AS_ERRORS}>:-Werror>>)

# tether_add_platform_library(NAME FOLDER [DEPS ...])
#
# One host library: every .cpp below platform/FOLDER becomes a shared library
# NAME. Headers are reached as <FOLDER/...> from the platform/ root, so a name's
# namespace tells where its header lives. Host libraries export everything, as
# the host's own would.
function(tether_add_platform_library name folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/platform/${folder}/*.cpp")
  if(sources)
    add_library(${name} SHARED ${sources})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/platform")
    target_link_libraries(${name} PUBLIC ${ARG_DEPS} PRIVATE tether_warnings)
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE "${PROJECT_SOURCE_DIR}/platform")
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# tether_add_test_suite(NAME DIR LABEL LIBS...)
#
# Every .cpp directly in DIR becomes one GoogleTest executable NAME, its tests
# discovered before they run so that CTest labels and filters apply to each.
function(tether_add_test_suite name dir label)
  file(GLOB sources CONFIGURE_DEPENDS "${dir}/*.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARGN} GTest::gtest GTest::gmock GTest::gtest_main tether_warnings)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/tests")
  # Absolute, because __FILE__ may be relative when ccache rewrites paths.
  target_compile_definitions(${name} PRIVATE
    TETHER_TEST_EXAMPLES_FOLDER="${PROJECT_SOURCE_DIR}/examples")
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${label}" TIMEOUT 300)
endfunction()
