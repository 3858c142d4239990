# The rooms of Sources, each a static library. A room links only those below it.

function(lum_library name folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Sources/${folder}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/Audio/VST/")
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/Sources)
  target_compile_options(${name} PRIVATE -fno-exceptions)
  target_link_libraries(${name} PUBLIC ${ARGN})
endfunction()

find_library(LUM_ZLIB_STATIC NAMES libz.a REQUIRED)
find_library(LUM_LZ4_STATIC NAMES liblz4.a REQUIRED)

lum_library(lum_platform Platform Threads::Threads ${CMAKE_DL_LIBS})
lum_library(lum_core Core lum_platform ${LUM_ZLIB_STATIC} ${LUM_LZ4_STATIC})
lum_library(lum_other Other lum_core)
lum_library(lum_audio Audio lum_other)

file(GLOB_RECURSE ui_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Sources/UI/*.cpp)
if(ui_sources)
  lum_library(lum_ui UI lum_other)
endif()

# One file per instruction set; the code is chosen once at start by cpuid.
file(GLOB_RECURSE avx2 CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Sources/*Avx2.cpp)
file(GLOB_RECURSE avx512 CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Sources/*Avx512.cpp)
set_source_files_properties(${avx2} PROPERTIES COMPILE_OPTIONS "-mavx2;-mfma;-O3")
# g++ 12 takes the registers that its own AVX-512 header leaves undefined for a fault of ours.
set(undefined "$<$<CXX_COMPILER_ID:GNU>:-Wno-uninitialized;-Wno-maybe-uninitialized>")
set_source_files_properties(${avx512} PROPERTIES COMPILE_OPTIONS
  "-mavx512f;-mavx512dq;-mavx512vl;-mavx2;-mfma;-O3;${undefined}")

# Plain loops over sample blocks: only at this level does the compiler make vector code of loops
# whose length it does not know.
set_source_files_properties(
  ${CMAKE_SOURCE_DIR}/Sources/Audio/CAudioWrapperProcess.cpp
  ${CMAKE_SOURCE_DIR}/Sources/Audio/Filters/CSplineTable.cpp
  ${CMAKE_SOURCE_DIR}/Sources/Audio/Processes/CDSPConvStage.cpp
  ${CMAKE_SOURCE_DIR}/Sources/Audio/Processes/CKernelPartitions.cpp
  ${CMAKE_SOURCE_DIR}/Sources/Audio/Processes/SampleOps.cpp
  PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O3>")
