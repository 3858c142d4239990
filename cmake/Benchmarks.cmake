# Programs that compare the inner loops with their plain twins and with well-known libraries of the
# same field. Those libraries are needed by these programs alone; without one its programs are left
# out, and nothing that is shipped ever links them.

find_package(PkgConfig)
if(PkgConfig_FOUND)
  pkg_check_modules(PIXMAN IMPORTED_TARGET pixman-1)
endif()
if(PIXMAN_FOUND)
  add_executable(bench_drawing ${CMAKE_SOURCE_DIR}/Benchmarks/DrawingBench.cpp)
  target_include_directories(bench_drawing PRIVATE ${CMAKE_SOURCE_DIR}/Benchmarks)
  target_link_libraries(bench_drawing PRIVATE lum_other PkgConfig::PIXMAN)
else()
  message(STATUS "pixman not found: no drawing benchmark")
endif()

# The layout network on a tree as the tests describe one.
add_executable(bench_layout ${CMAKE_SOURCE_DIR}/Benchmarks/LayoutBench.cpp)
target_include_directories(bench_layout PRIVATE ${CMAKE_SOURCE_DIR}/Benchmarks ${CMAKE_SOURCE_DIR}/Tests)
target_link_libraries(bench_layout PRIVATE lum_ui)

# A frame of the gallery's panel.
find_program(LUM_PYTHON python3)
if(LUM_PYTHON)
  set(gallery ${CMAKE_BINARY_DIR}/Gallery)
  add_custom_command(
    OUTPUT ${gallery}/panel.xml
    COMMAND ${LUM_PYTHON} ${CMAKE_SOURCE_DIR}/Tools/View/gallery.py ${gallery}
    DEPENDS ${CMAKE_SOURCE_DIR}/Tools/View/gallery.py
    VERBATIM)
  add_executable(bench_repaint ${CMAKE_SOURCE_DIR}/Benchmarks/RepaintBench.cpp ${gallery}/panel.xml)
  target_include_directories(bench_repaint PRIVATE ${CMAKE_SOURCE_DIR}/Benchmarks)
  target_compile_definitions(bench_repaint PRIVATE LUM_PANEL="${gallery}/panel.xml")
  target_link_libraries(bench_repaint PRIVATE view_scene)
else()
  message(STATUS "python3 not found: no benchmark of a whole frame")
endif()

function(lum_benchmark name)
  add_executable(${name} ${CMAKE_SOURCE_DIR}/Benchmarks/${ARGN})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/Benchmarks ${FFTW3_INCLUDE})
  target_link_libraries(${name} PRIVATE lum_audio ${FFTW3_LIBRARY})
endfunction()

lum_benchmark(bench_transform TransformBench.cpp)
lum_benchmark(bench_convolver ConvolverBench.cpp)
