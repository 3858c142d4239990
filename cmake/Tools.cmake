# Programs beside the plug-in. They may use what the plug-in may not: exceptions, big libraries.

find_package(pugixml REQUIRED)

add_executable(sorrel-treec Tools/TreeCompiler.cpp Tools/AuthoredTree.cpp Tools/CompiledTree.cpp)
target_link_libraries(sorrel-treec PRIVATE pugixml::pugixml)

add_executable(sorrel-treedump Tools/TreeDump.cpp Tools/CompiledTree.cpp)

add_executable(sorrel-bankc Tools/BankCompiler.cpp)
target_link_libraries(sorrel-bankc PRIVATE lum_audio pugixml::pugixml)

add_executable(sorrel-dump Tools/StateDump.cpp)
target_link_libraries(sorrel-dump PRIVATE lum_audio)
