# Palettes: the colour presets and the palette's part of the interface tree, from Product/Palettes.

find_package(CLI11 REQUIRED)

set(LUM_PALETTE_DIR ${CMAKE_BINARY_DIR}/Palettes)
file(MAKE_DIRECTORY ${LUM_PALETTE_DIR})

file(GLOB palette_builder CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Palettes/*.cpp)
add_executable(sorrel-palettec ${palette_builder})
target_include_directories(sorrel-palettec PRIVATE ${CMAKE_SOURCE_DIR}/Tools)
target_link_libraries(sorrel-palettec PRIVATE lum_audio CLI11::CLI11)

set(palette_files "")
set(LUM_PALETTE_RESOURCES "")
foreach(name AppDataGlobal_uicolor-presets AppDataLocal_uicolor-name
             AppDataLocal_uicolor-palette AppDataLocal_ui-palette-cache)
  list(APPEND palette_files ${LUM_PALETTE_DIR}/${name})
  list(APPEND LUM_PALETTE_RESOURCES "${name}=${LUM_PALETTE_DIR}/${name}")
endforeach()

file(GLOB palettes CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Product/Palettes/*.palette)
add_custom_command(
  OUTPUT ${palette_files} ${LUM_PALETTE_DIR}/Palette.xml
  COMMAND sorrel-palettec ${CMAKE_SOURCE_DIR}/Product/Palettes/Scheme.palette ${LUM_PALETTE_DIR}
  DEPENDS sorrel-palettec ${palettes}
  COMMENT "Making palettes"
  VERBATIM)
add_custom_target(lum_palettes ALL DEPENDS ${palette_files} ${LUM_PALETTE_DIR}/Palette.xml)
