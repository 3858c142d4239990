# The validator of VST2 binaries, and the real-time guard that it shares with the tests. Nothing of
# the engine is linked.

# The guard stands before the C library's allocator and locks for its whole program, as the
# sanitizers do; so it is left out of their builds.
if(NOT LUM_SANITIZE)
  file(GLOB LUM_GUARD_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Guard/*.cpp)
  add_library(lum_guard OBJECT ${LUM_GUARD_SOURCES})
  target_include_directories(lum_guard PUBLIC ${CMAKE_SOURCE_DIR}/Tools)
  target_link_libraries(lum_guard PUBLIC Threads::Threads ${CMAKE_DL_LIBS})
endif()

# The measure of a click, which tests of the engine take as well.
find_path(FFTW3_INCLUDE fftw3.h REQUIRED)
find_library(FFTW3_LIBRARY fftw3 REQUIRED)
add_library(stray_energy STATIC ${CMAKE_SOURCE_DIR}/Tools/Validate/StrayEnergy.cpp)
target_include_directories(stray_energy PUBLIC ${CMAKE_SOURCE_DIR}/Tools PRIVATE ${FFTW3_INCLUDE})
target_link_libraries(stray_energy PUBLIC ${FFTW3_LIBRARY})

file(GLOB LUM_VALIDATE_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Validate/*.cpp)
list(FILTER LUM_VALIDATE_SOURCES EXCLUDE REGEX "/StrayEnergy\\.cpp$")
add_executable(sorrel-validate ${LUM_VALIDATE_SOURCES})
target_link_libraries(sorrel-validate PRIVATE host_program stray_energy Threads::Threads)
# What g++ leaves out of -Wconversion, clang does not.
target_compile_options(sorrel-validate PRIVATE $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
if(LUM_SANITIZE)
  target_compile_definitions(sorrel-validate PRIVATE LUM_NO_GUARD)
else()
  target_link_libraries(sorrel-validate PRIVATE lum_guard)
  set_target_properties(sorrel-validate PROPERTIES ENABLE_EXPORTS ON)
endif()
