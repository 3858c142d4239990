# sorrel-view: paints authored trees of views without a window system.

if(TARGET lum_ui)
  # A scene: an authored tree with the product's graphics around it.
  add_library(view_scene STATIC Tools/View/ViewScene.cpp Tools/AuthoredTree.cpp
              Tools/CompiledTree.cpp Tools/Graphics/GraphicsFile.cpp)
  target_include_directories(view_scene PUBLIC ${CMAKE_SOURCE_DIR}/Tools)
  # The build's own graphics and palettes unless others are named.
  target_compile_definitions(view_scene PUBLIC LUM_GRAPHICS_FOLDER="${LUM_GRAPHICS_DIR}"
                             LUM_PALETTE_FOLDER="${LUM_PALETTE_DIR}")
  target_link_libraries(view_scene PUBLIC lum_ui lum_audio pugixml::pugixml)
  add_dependencies(view_scene lum_fonts lum_images lum_palettes)

  add_executable(sorrel-view Tools/View/Main.cpp Tools/Graphics/PngFile.cpp)
  target_link_libraries(sorrel-view PRIVATE view_scene PNG::PNG CLI11::CLI11)
endif()
