# The product: its data, compiled and embedded, and the plug-in that carries it.

set(LUM_PRODUCT_DIR ${CMAKE_BINARY_DIR}/Product)
file(MAKE_DIRECTORY ${LUM_PRODUCT_DIR})

# Compiles authored XML of Product/ to the binary form of a tree. Wrong data fails the build.
function(lum_compile_tree name)
  add_custom_command(
    OUTPUT ${LUM_PRODUCT_DIR}/${name}.bin
    COMMAND sorrel-treec ${CMAKE_SOURCE_DIR}/Product/${name} ${LUM_PRODUCT_DIR}/${name}.bin
    DEPENDS sorrel-treec ${CMAKE_SOURCE_DIR}/Product/${name}
    COMMENT "Compiling ${name}"
    VERBATIM)
endfunction()

lum_compile_tree(SharedData.xml)

# Compiles an authored bank of presets to the block that holds it.
function(lum_compile_bank source target)
  add_custom_command(
    OUTPUT ${LUM_PRODUCT_DIR}/${target}
    COMMAND sorrel-bankc ${CMAKE_SOURCE_DIR}/Product/${source} ${LUM_PRODUCT_DIR}/${target}
    DEPENDS sorrel-bankc ${CMAKE_SOURCE_DIR}/Product/${source}
    COMMENT "Compiling ${source}"
    VERBATIM)
endfunction()

lum_compile_bank(FactoryPresets.xml FactoryROM.cbf)
lum_compile_bank(RoutingPresets.xml AppDataGlobal_routing-presets-sys)

# The embedded files: the exact name by which product data asks for one, "=", the file.
set(LUM_RESOURCES
  "SharedData.xml=${LUM_PRODUCT_DIR}/SharedData.xml.bin"
  "FactoryROM.cbf=${LUM_PRODUCT_DIR}/FactoryROM.cbf"
  "AppDataGlobal_routing-presets-sys=${LUM_PRODUCT_DIR}/AppDataGlobal_routing-presets-sys")
list(APPEND LUM_RESOURCES ${LUM_PALETTE_RESOURCES} ${LUM_GRAPHICS_RESOURCES})

# An assembler file that takes the files in as they are, each behind its 32-bit size, and the table.
set(asm "    .section .rodata\n")
set(declarations "")
set(rows "")
set(files "")
set(index 0)
foreach(resource IN LISTS LUM_RESOURCES)
  string(REGEX MATCH "^([^=]*)=(.*)$" unused "${resource}")
  set(name "${CMAKE_MATCH_1}")
  set(path "${CMAKE_MATCH_2}")
  set(symbol "lumResource${index}")
  string(APPEND asm
    "    .globl ${symbol}\n    .hidden ${symbol}\n    .balign 16\n${symbol}:\n"
    "    .long 2f - 1f\n1:\n    .incbin \"${path}\"\n2:\n")
  string(APPEND declarations "extern \"C\" const uint8_t ${symbol}[];\n")
  string(APPEND rows "    {${symbol}, \"${name}\"},\n")
  list(APPEND files "${path}")
  math(EXPR index "${index} + 1")
endforeach()
string(APPEND asm "    .section .note.GNU-stack,\"\",@progbits\n")
file(GENERATE OUTPUT ${LUM_PRODUCT_DIR}/Resources.S CONTENT "${asm}")
file(GENERATE OUTPUT ${LUM_PRODUCT_DIR}/Resources.cpp CONTENT
  "#include \"Product.h\"\n\n${declarations}\nconst lum::CResourceRow lum::kProductResources[] = {\n${rows}    {nullptr, nullptr},\n};\n")

add_library(lum_product STATIC ${LUM_PRODUCT_DIR}/Resources.S ${LUM_PRODUCT_DIR}/Resources.cpp)
set_source_files_properties(${LUM_PRODUCT_DIR}/Resources.S PROPERTIES OBJECT_DEPENDS "${files}")
target_include_directories(lum_product PUBLIC ${CMAKE_SOURCE_DIR}/Product ${CMAKE_SOURCE_DIR}/Sources)

# The adapter, without what runs at load and unload.
set(vst ${CMAKE_SOURCE_DIR}/Sources/Audio/VST)
add_library(lum_vst STATIC ${vst}/CAudioWrapperVST.cpp ${vst}/CVSTEffect.cpp ${vst}/CVSTHostTraits.cpp)
target_compile_options(lum_vst PRIVATE -fno-exceptions)
target_link_libraries(lum_vst PUBLIC lum_audio)

# Load and unload. The file goes to the linker behind all others, because constructors run in that
# order and this one needs what the others make.
add_library(lum_vst_module STATIC ${vst}/VSTModule.cpp)
target_compile_options(lum_vst_module PRIVATE -fno-exceptions)
target_include_directories(lum_vst_module PRIVATE ${CMAKE_SOURCE_DIR}/Sources ${CMAKE_SOURCE_DIR}/Product)

add_library(SorrelGEQ MODULE ${vst}/VSTEntry.cpp)
target_include_directories(SorrelGEQ PRIVATE ${CMAKE_SOURCE_DIR}/Sources)
target_compile_options(SorrelGEQ PRIVATE -fno-exceptions)
set_target_properties(SorrelGEQ PROPERTIES
  PREFIX ""
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}
  LINK_DEPENDS ${vst}/exports.map)
set(parts lum_vst lum_audio lum_other lum_core lum_platform lum_product lum_vst_module)
set(archives "")
foreach(part IN LISTS parts)
  if(part STREQUAL "lum_vst_module")
    list(APPEND archives ${LUM_ZLIB_STATIC} ${LUM_LZ4_STATIC})
  endif()
  list(APPEND archives $<TARGET_FILE:${part}>)
endforeach()
add_dependencies(SorrelGEQ ${parts})
target_link_libraries(SorrelGEQ PRIVATE
  -Wl,--start-group ${archives} -Wl,--end-group Threads::Threads ${CMAKE_DL_LIBS})
target_link_options(SorrelGEQ PRIVATE
  -static-libstdc++ -static-libgcc
  -Wl,--version-script=${vst}/exports.map
  -Wl,--gc-sections -Wl,--exclude-libs,ALL)
if(NOT LUM_SANITIZE)
  target_link_options(SorrelGEQ PRIVATE -Wl,-z,defs)
endif()
