// sorrel-palettec: makes the product's palette data from the authored scheme and its presets.

#include "Palettes/PaletteFiles.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>

int main(int argc, char** argv) {
    CLI::App app("Makes the product's palette data from the authored scheme and its presets.");
    std::string schemePath;
    std::string outFolder;
    app.add_option("scheme", schemePath, "The scheme; presets lie beside it")->required();
    app.add_option("out", outFolder, "Folder for the files")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        const Scheme scheme = readScheme(schemePath);
        const std::string folder = std::filesystem::path(schemePath).parent_path().string();
        writePaletteFiles(scheme, folder, outFolder);
        writePaletteTree(scheme, folder, outFolder + "/Palette.xml");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
