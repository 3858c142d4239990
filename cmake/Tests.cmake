# One test program per folder of Tests; every .cpp found there is part of it.

find_package(GTest REQUIRED)
include(GoogleTest)

function(lum_test name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/Tests)
  target_compile_definitions(${name} PRIVATE LUM_TEST_DATA="${CMAKE_SOURCE_DIR}/Tests/Data")
  target_link_libraries(${name} PRIVATE ${ARGN} GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST)
endfunction()

lum_test(tests_platform Platform lum_platform)
lum_test(tests_core Core lum_core)
lum_test(tests_other Other lum_other)
lum_test(tests_audio Audio lum_audio)
