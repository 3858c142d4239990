# Fonts and image sets: built from outline fonts of the distribution and authored drawings in Gfx.
# LUM_GRAPHICS_RESOURCES lists them as "name=file", the name being the one by which product data asks:
# the path from the sources of its trees.

find_package(CLI11 REQUIRED)
find_package(Freetype REQUIRED)
find_package(PNG REQUIRED)

set(LUM_GRAPHICS_DIR ${CMAKE_BINARY_DIR}/Graphics)
file(MAKE_DIRECTORY ${LUM_GRAPHICS_DIR})
set(LUM_GRAPHICS_RESOURCES "")
set(LUM_FONT_FOLDER "/usr/share/fonts" CACHE PATH "Folder that the faces of Gfx/Fonts lie below")

# ---- Programs

file(GLOB font_builder CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Fonts/*.cpp)
add_executable(sorrel-fontc ${font_builder})
target_include_directories(sorrel-fontc PRIVATE ${CMAKE_SOURCE_DIR}/Tools)
target_link_libraries(sorrel-fontc PRIVATE lum_other Freetype::Freetype CLI11::CLI11)

file(GLOB graphics_program CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Graphics/*.cpp)
add_executable(sorrel-gfx ${graphics_program})
target_include_directories(sorrel-gfx PRIVATE ${CMAKE_SOURCE_DIR}/Tools)
target_link_libraries(sorrel-gfx PRIVATE lum_other PNG::PNG CLI11::CLI11)

# ---- Fonts

file(GLOB font_manifests CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Gfx/Fonts/*.font)
set(font_files "")
foreach(manifest IN LISTS font_manifests)
  get_filename_component(name ${manifest} NAME_WE)
  set(font ${LUM_GRAPHICS_DIR}/${name}.fnt)
  add_custom_command(
    OUTPUT ${font}
    COMMAND sorrel-fontc ${manifest} ${font} --fonts ${LUM_FONT_FOLDER}
    DEPENDS sorrel-fontc ${manifest}
    COMMENT "Building font ${name}"
    VERBATIM)
  list(APPEND font_files ${font})
  list(APPEND LUM_GRAPHICS_RESOURCES "../../../Gfx/Fonts/${name}.fnt=${font}")
endforeach()
add_custom_target(lum_fonts ALL DEPENDS ${font_files})

include(cmake/Images.cmake)
