# Tests of the host program, against a small plug-in of their own and, for the files of states, the
# product's.
add_library(test_plugin MODULE ${CMAKE_SOURCE_DIR}/Tests/HostProgram/TestPlugin.cpp)
target_include_directories(test_plugin PRIVATE ${CMAKE_SOURCE_DIR}/Sources)
set_target_properties(test_plugin PROPERTIES PREFIX "" OUTPUT_NAME TestPlugin)

file(GLOB LUM_HOST_TESTS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/HostProgram/*Test.cpp)
add_executable(tests_hostprogram ${LUM_HOST_TESTS})
target_include_directories(tests_hostprogram PRIVATE ${CMAKE_SOURCE_DIR}/Tests)
target_compile_definitions(tests_hostprogram PRIVATE
  LUM_TEST_PLUGIN="$<TARGET_FILE:test_plugin>" LUM_HOST_PROGRAM="$<TARGET_FILE:sorrel-host>"
  LUM_DUMP_PROGRAM="$<TARGET_FILE:sorrel-dump>" LUM_PLUGIN="$<TARGET_FILE:SorrelGEQ>")
target_link_libraries(tests_hostprogram PRIVATE host_program GTest::gtest GTest::gtest_main)
add_dependencies(tests_hostprogram test_plugin sorrel-host sorrel-dump SorrelGEQ)
gtest_discover_tests(tests_hostprogram DISCOVERY_MODE PRE_TEST)

# Left out of sanitizer builds with the guard.
if(NOT LUM_SANITIZE)
  file(GLOB LUM_GUARD_TESTS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/Guard/*.cpp)
  add_executable(tests_realtime ${LUM_GUARD_TESTS})
  target_include_directories(tests_realtime PRIVATE ${CMAKE_SOURCE_DIR}/Tests ${CMAKE_SOURCE_DIR}/Sources)
  target_compile_definitions(tests_realtime PRIVATE LUM_PLUGIN="$<TARGET_FILE:SorrelGEQ>")
  target_link_libraries(tests_realtime PRIVATE lum_guard GTest::gtest GTest::gtest_main
    ${LUM_ZLIB_STATIC} Threads::Threads ${CMAKE_DL_LIBS})
  set_target_properties(tests_realtime PROPERTIES ENABLE_EXPORTS ON)
  add_dependencies(tests_realtime SorrelGEQ)
  # Two threads hand turns to each other by spinning; beside other tests that takes minutes.
  gtest_discover_tests(tests_realtime DISCOVERY_MODE PRE_TEST PROPERTIES RUN_SERIAL TRUE)
endif()

# Faults of disk, memory and data: stores and files by the engine's classes, the rest by the binary.
lum_test(tests_faults Faults lum_audio ${CMAKE_DL_LIBS})
add_dependencies(tests_faults SorrelGEQ)
target_compile_definitions(tests_faults PRIVATE LUM_PLUGIN="$<TARGET_FILE:SorrelGEQ>"
  LUM_PRODUCT_FOLDER="${LUM_PRODUCT_DIR}")

# Chunks of earlier versions load to the values written beside them.
add_test(NAME golden_chunks COMMAND sorrel-validate $<TARGET_FILE:SorrelGEQ> --only golden
         --golden ${CMAKE_SOURCE_DIR}/Tests/Data/Chunks)

# The validator, against a plug-in with one fault at a time.
add_library(naughty_plugin MODULE ${CMAKE_SOURCE_DIR}/Tests/Validate/NaughtyPlugin.cpp)
target_include_directories(naughty_plugin PRIVATE ${CMAKE_SOURCE_DIR}/Sources)
set_target_properties(naughty_plugin PROPERTIES PREFIX "" OUTPUT_NAME NaughtyPlugin)
add_executable(tests_validate ${CMAKE_SOURCE_DIR}/Tests/Validate/ValidateTest.cpp)
target_compile_definitions(tests_validate PRIVATE LUM_NAUGHTY_PLUGIN="$<TARGET_FILE:naughty_plugin>"
  LUM_VALIDATE_PROGRAM="$<TARGET_FILE:sorrel-validate>")
if(NOT LUM_SANITIZE)
  target_compile_definitions(tests_validate PRIVATE LUM_HAS_GUARD)
endif()
target_link_libraries(tests_validate PRIVATE GTest::gtest GTest::gtest_main)
add_dependencies(tests_validate naughty_plugin sorrel-validate)
gtest_discover_tests(tests_validate DISCOVERY_MODE PRE_TEST)
