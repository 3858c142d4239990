# Programs that compare the inner loops with their plain twins and with FFTW. FFTW is needed by
# these programs alone; without it they are left out, and nothing that is shipped ever links it.

find_path(FFTW3_INCLUDE fftw3.h)
find_library(FFTW3_LIBRARY fftw3)

if(NOT FFTW3_INCLUDE OR NOT FFTW3_LIBRARY)
  message(STATUS "FFTW not found: no benchmarks")
  return()
endif()

function(lum_benchmark name)
  add_executable(${name} ${CMAKE_SOURCE_DIR}/Benchmarks/${ARGN})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/Benchmarks ${FFTW3_INCLUDE})
  target_link_libraries(${name} PRIVATE lum_audio ${FFTW3_LIBRARY})
endfunction()

lum_benchmark(bench_transform TransformBench.cpp)
lum_benchmark(bench_convolver ConvolverBench.cpp)
