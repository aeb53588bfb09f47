find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
pkg_check_modules(PLACEBO REQUIRED IMPORTED_TARGET libplacebo)
pkg_check_modules(UMOCKDEV REQUIRED IMPORTED_TARGET umockdev-1.0)
include(GoogleTest)

# What a test's environment needs so that its /dev and /sys are played by umockdev.
set(LANTERNFLY_UMOCKDEV
  LD_PRELOAD=path_list_prepend:libumockdev-preload.so.0
  ASAN_OPTIONS=string_append::verify_asan_link_order=0)

# lanternfly_test(<name> SOURCES <files…> LIBRARIES <targets…> LABELS <what the test needs…>
#                 ENVIRONMENT <modifications…>)
# declares one GoogleTest program; every test of it is a ctest test of its own. With ONE_RUN the
# whole program is one: its tests share something that is slow to start. Test code is compiled without
# optimisation, which halves the time of a full build; OPTIMISED is for programs with long loops of
# their own.
function(lanternfly_test name)
  cmake_parse_arguments(ARG "ONE_RUN;OPTIMISED" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;ENVIRONMENT" ${ARGN})
  if(NOT ARG_TIMEOUT AND ARG_ONE_RUN)
    set(ARG_TIMEOUT 600)
  elseif(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  if(NOT ARG_OPTIMISED)
    target_compile_options(${name} PRIVATE -O0)
  endif()
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE
    LANTERNFLY_SOURCE_DIR="${CMAKE_SOURCE_DIR}" LANTERNFLY_BUILD_DIR="${CMAKE_BINARY_DIR}")
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
  if(ARG_ONE_RUN)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT}
      ENVIRONMENT_MODIFICATION "${ARG_ENVIRONMENT}"
      SKIP_REGULAR_EXPRESSION "PASSED  \\] 0 tests\\.[\r\n]+\\[  SKIPPED")
    return()
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 NO_PRETTY_VALUES TEST_PREFIX ${name}.)
  # gtest_discover_tests() would take a property that is a list for several properties.
  set(properties ${CMAKE_CURRENT_BINARY_DIR}/${name}_properties.cmake)
  file(CONFIGURE OUTPUT ${properties} @ONLY CONTENT [[
if(@name@_TESTS)
  set_tests_properties(${@name@_TESTS} PROPERTIES
    LABELS "@ARG_LABELS@" TIMEOUT @ARG_TIMEOUT@ ENVIRONMENT_MODIFICATION "@ARG_ENVIRONMENT@")
endif()
]])
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${properties})
endfunction()
