# Image sets: built from the drawings of Gfx/Imagesets. Included by Graphics.cmake.

find_package(PkgConfig REQUIRED)
pkg_check_modules(LUM_RSVG REQUIRED IMPORTED_TARGET librsvg-2.0 cairo)

file(GLOB image_builder CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tools/Images/*.cpp)
add_executable(sorrel-isc ${image_builder})
target_include_directories(sorrel-isc PRIVATE ${CMAKE_SOURCE_DIR}/Tools)
target_link_libraries(sorrel-isc PRIVATE lum_other PkgConfig::LUM_RSVG CLI11::CLI11)

file(GLOB image_manifests CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Gfx/Imagesets/*/*.images)
file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Gfx/Imagesets/*/*.svg) # sets share some
set(image_files "")
# The rasteriser starts threads of its own, which a thread sanitizer cannot see into.
set(run_compiler ${CMAKE_COMMAND} -E env TSAN_OPTIONS=report_bugs=0 $<TARGET_FILE:sorrel-isc>)
foreach(manifest IN LISTS image_manifests)
  get_filename_component(name ${manifest} NAME_WE)
  set(image_file ${LUM_GRAPHICS_DIR}/${name}.is)
  add_custom_command(
    OUTPUT ${image_file}
    COMMAND ${run_compiler} ${manifest} ${image_file}
    DEPENDS sorrel-isc ${manifest} ${drawings}
    COMMENT "Building image set ${name}"
    VERBATIM)
  list(APPEND image_files ${image_file})
  list(APPEND LUM_GRAPHICS_RESOURCES "../../../Gfx/Imagesets/${name}.is=${image_file}")
endforeach()
add_custom_target(lum_images ALL DEPENDS ${image_files})
