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
  # What g++ leaves out of -Wconversion, clang does not.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h> <map> <memory> <string> <vector>)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST)
endfunction()

lum_test(tests_platform Platform lum_platform)
lum_test(tests_core Core lum_core)
lum_test(tests_other Other lum_other)
target_compile_definitions(tests_other PRIVATE LUM_GRAPHICS="${LUM_GRAPHICS_DIR}")
add_dependencies(tests_other lum_fonts)
lum_test(tests_audio Audio lum_audio lum_product stray_energy)
if(TARGET lum_ui)
  lum_test(tests_ui UI lum_ui)
endif()

# The plug-in's binary, driven through its host interface.
lum_test(tests_host Host Threads::Threads ZLIB::ZLIB ${CMAKE_DL_LIBS})
if(TARGET tests_host)
  add_dependencies(tests_host SorrelGEQ)
  target_include_directories(tests_host PRIVATE ${CMAKE_SOURCE_DIR}/Sources)
  target_compile_definitions(tests_host PRIVATE LUM_PLUGIN="$<TARGET_FILE:SorrelGEQ>")
endif()

add_test(NAME tree_compiler
         COMMAND ${CMAKE_SOURCE_DIR}/Tests/Tools/TreeCompilerTest.sh $<TARGET_FILE:sorrel-treec>
                 $<TARGET_FILE:sorrel-treedump>)

# The palettes as built, and the compiler of image sets.
lum_test(tests_tools Tools lum_audio)
target_compile_definitions(tests_tools PRIVATE LUM_PALETTE_FOLDER="${LUM_PALETTE_DIR}")
add_dependencies(tests_tools lum_palettes)
add_test(NAME image_compiler
         COMMAND ${CMAKE_SOURCE_DIR}/Tests/Tools/ImageCompilerTest.sh $<TARGET_FILE:sorrel-isc>)

# g++ 12 takes the long branch of a standard string's assignment for a fault in these.
set_source_files_properties(
  ${CMAKE_SOURCE_DIR}/Tests/Core/TextReaderTest.cpp ${CMAKE_SOURCE_DIR}/Tests/Other/CSVTableTest.cpp
  PROPERTIES COMPILE_OPTIONS "-Wno-array-bounds;$<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>")
