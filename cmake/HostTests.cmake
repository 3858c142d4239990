# Tests of the host program, against a small plug-in of their own.
add_library(test_plugin MODULE ${CMAKE_SOURCE_DIR}/Tests/HostProgram/TestPlugin.cpp)
target_include_directories(test_plugin PRIVATE ${CMAKE_SOURCE_DIR}/Sources)
set_target_properties(test_plugin PROPERTIES PREFIX "" OUTPUT_NAME TestPlugin)

file(GLOB LUM_HOST_TESTS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/HostProgram/*Test.cpp)
add_executable(tests_hostprogram ${LUM_HOST_TESTS})
target_include_directories(tests_hostprogram PRIVATE ${CMAKE_SOURCE_DIR}/Tests)
target_compile_definitions(tests_hostprogram PRIVATE
  LUM_TEST_PLUGIN="$<TARGET_FILE:test_plugin>" LUM_HOST_PROGRAM="$<TARGET_FILE:sorrel-host>")
target_link_libraries(tests_hostprogram PRIVATE host_program GTest::gtest GTest::gtest_main)
add_dependencies(tests_hostprogram test_plugin sorrel-host)
gtest_discover_tests(tests_hostprogram DISCOVERY_MODE PRE_TEST)

# The real-time guard stands before the C library's allocator and locks for its whole program, as the
# sanitizers do; so it has a program of its own and is left out of their builds.
if(NOT LUM_SANITIZE)
  file(GLOB LUM_GUARD_TESTS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/Guard/*.cpp)
  add_executable(tests_realtime ${LUM_GUARD_TESTS})
  target_include_directories(tests_realtime PRIVATE ${CMAKE_SOURCE_DIR}/Tests ${CMAKE_SOURCE_DIR}/Sources)
  target_compile_definitions(tests_realtime PRIVATE LUM_PLUGIN="$<TARGET_FILE:SorrelGEQ>")
  target_link_libraries(tests_realtime PRIVATE GTest::gtest GTest::gtest_main ${LUM_ZLIB_STATIC}
    Threads::Threads ${CMAKE_DL_LIBS})
  set_target_properties(tests_realtime PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(tests_realtime SorrelGEQ)
  # Two threads hand turns to each other by spinning; beside other tests that takes minutes.
  gtest_discover_tests(tests_realtime DISCOVERY_MODE PRE_TEST PROPERTIES RUN_SERIAL TRUE)
endif()
