# Fuzz targets: every Tests/Fuzz/<Reader>Fuzz.cpp is a program fuzz_<Reader>, which links libFuzzer and
# the rooms named for its pattern. Their seeds lie in Tests/Fuzz/Corpus/<Reader>, one input a file;
# run one as `fuzz_ZlibBlock Tests/Fuzz/Corpus/ZlibBlock`. Included only with LUM_FUZZ, for clang.

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "LUM_FUZZ needs clang++ (-DCMAKE_CXX_COMPILER=clang++)")
endif()

add_custom_target(lum_fuzzers)

# lum_fuzz(name libs...): a program fuzz_<name> of each Tests/Fuzz/<name>Fuzz.cpp; name may be a
# pattern. A file taken by an earlier call is left out.
function(lum_fuzz name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/Fuzz/${name}Fuzz.cpp)
  foreach(source ${sources})
    get_filename_component(reader ${source} NAME_WE)
    string(REGEX REPLACE "Fuzz$" "" reader ${reader})
    if(TARGET fuzz_${reader})
      continue()
    endif()
    add_executable(fuzz_${reader} ${source})
    target_include_directories(fuzz_${reader} PRIVATE ${CMAKE_SOURCE_DIR}/Tests)
    target_link_libraries(fuzz_${reader} PRIVATE ${ARGN})
    target_link_options(fuzz_${reader} PRIVATE -fsanitize=fuzzer)
    add_dependencies(lum_fuzzers fuzz_${reader})
  endforeach()
endfunction()

lum_fuzz(CSV lum_other)
lum_fuzz(ImageSet lum_other)
lum_fuzz(Palette lum_other)
lum_fuzz(Font lum_other)
lum_fuzz(ZlibBlock lum_core)
lum_fuzz(LZ4Block lum_core)
lum_fuzz(String lum_core)
lum_fuzz(StoreRecord lum_core)
# These drive a whole instance.
lum_fuzz(Chunk lum_audio lum_product)
lum_fuzz(CCTable lum_audio lum_product)
lum_fuzz(Message lum_audio lum_product)
lum_fuzz(* lum_audio)
