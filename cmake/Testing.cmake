find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
pkg_check_modules(PLACEBO REQUIRED IMPORTED_TARGET libplacebo)
include(GoogleTest)

# lanternfly_test(<name> SOURCES <files…> LIBRARIES <targets…> LABELS <what the test needs…>)
# declares one GoogleTest program; every test of it is a ctest test of its own.
function(lanternfly_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE
    LANTERNFLY_SOURCE_DIR="${CMAKE_SOURCE_DIR}" LANTERNFLY_BUILD_DIR="${CMAKE_BINARY_DIR}")
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 NO_PRETTY_VALUES
    TEST_PREFIX ${name}. PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
endfunction()
