# sorrel-view: paints authored trees of views without a window system.

if(TARGET lum_ui)
  file(GLOB view_program CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/View/*.cpp)
  add_executable(sorrel-view ${view_program} Tools/AuthoredTree.cpp Tools/CompiledTree.cpp
                 Tools/Graphics/GraphicsFile.cpp Tools/Graphics/PngFile.cpp)
  target_include_directories(sorrel-view PRIVATE ${CMAKE_SOURCE_DIR}/Tools)
  # The build's own graphics and palettes unless others are named.
  target_compile_definitions(sorrel-view PRIVATE LUM_GRAPHICS_FOLDER="${LUM_GRAPHICS_DIR}"
                             LUM_PALETTE_FOLDER="${LUM_PALETTE_DIR}")
  target_link_libraries(sorrel-view PRIVATE lum_ui lum_audio pugixml::pugixml PNG::PNG CLI11::CLI11)
  add_dependencies(sorrel-view lum_fonts lum_images lum_palettes)
endif()
