# quillon_unit_test(NAME [SERIAL] SOURCES file... LIBRARIES target...)
#
# One GoogleTest program; each of its tests becomes a CTest test. Tests link the object libraries,
# not the shared ones, so that internals can be reached without exporting them. SERIAL is for tests that
# measure shares of time: no other test runs beside them.
function(quillon_unit_test name)
  cmake_parse_arguments(arg "SERIAL" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest_main GTest::gmock quillon-compiler quillon-sanitize)
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests/support")
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  include(GoogleTest)
  set(serial FALSE)
  if(arg_SERIAL)
    set(serial TRUE)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}/" DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 RUN_SERIAL ${serial})
endfunction()
