// sorrel-gfx: shows built graphics, fonts and image sets, as pictures and as text.

#include "Graphics/ContactSheet.h"
#include "Graphics/GraphicsFile.h"
#include "Graphics/PngFile.h"
#include "Graphics/Specimen.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace {

void addSheet(CLI::App& app) {
    auto* command = app.add_subcommand("sheet", "Draws every image of a .is or .fnt file");
    auto file = std::make_shared<std::string>();
    auto out = std::make_shared<std::string>();
    auto options = std::make_shared<SheetOptions>();
    command->add_option("file", *file, "The .is or .fnt file")->required();
    command->add_option("out", *out, "The PNG to write")->required();
    command->add_option("--scale", options->scale, "Visual scale")->check(CLI::Range(0.25, 8.0));
    command->add_option("--width", options->width, "Width of the sheet, pixels")
        ->check(CLI::Range(64, 8192));
    command->add_flag("--light", options->isLight, "On a light ground");
    command->callback([=] {
        lum::CLinearBitmap bitmap;
        drawContactSheet(*loadGraphicsFile(*file), *options, bitmap);
        writePng(bitmap, *out);
    });
}

void addList(CLI::App& app) {
    auto* command = app.add_subcommand("list", "Lists the ranges and images of a file");
    auto file = std::make_shared<std::string>();
    command->add_option("file", *file, "The .is or .fnt file")->required();
    command->callback([=] { listImageSet(*loadGraphicsFile(*file)); });
}

void addSpecimen(CLI::App& app) {
    auto* command = app.add_subcommand("specimen", "Draws a text in fonts at several scales");
    auto out = std::make_shared<std::string>();
    auto options = std::make_shared<SpecimenOptions>();
    command->add_option("out", *out, "The PNG to write")->required();
    command->add_option("fonts", options->fonts, "The .fnt files")->required();
    command->add_option("--scales", options->scales, "Visual scales")->delimiter(',');
    command->add_option("--text", options->text, "The text, in place of one of many letters");
    command->add_option("--width", options->width, "Width of a column, interface units");
    command->callback([=] {
        lum::CLinearBitmap bitmap;
        drawSpecimen(*options, bitmap);
        writePng(bitmap, *out);
    });
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Shows fonts and image sets.");
    app.require_subcommand(1);
    addSheet(app);
    addList(app);
    addSpecimen(app);
    try {
        CLI11_PARSE(app, argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sorrel-gfx: %s\n", error.what());
        return 1;
    }
    return 0;
}
