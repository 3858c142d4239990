# The host program. It loads plug-ins as binaries and links nothing of the engine; of Sources it
# sees only the header of the binary contract.
find_package(CLI11 REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(ZLIB REQUIRED)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)

# All but main(), so that the tests can call it.
file(GLOB LUM_HOST_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Host/*.cpp)
list(FILTER LUM_HOST_SOURCES EXCLUDE REGEX "/Main\\.cpp$")
add_library(host_program STATIC ${LUM_HOST_SOURCES})
target_include_directories(host_program PUBLIC ${CMAKE_SOURCE_DIR}/Tools ${CMAKE_SOURCE_DIR}/Sources)
target_link_libraries(host_program PUBLIC CLI11::CLI11 PkgConfig::SNDFILE ZLIB::ZLIB ${CMAKE_DL_LIBS})

add_executable(sorrel-host ${CMAKE_SOURCE_DIR}/Tools/Host/Main.cpp)
target_link_libraries(sorrel-host PRIVATE host_program)
