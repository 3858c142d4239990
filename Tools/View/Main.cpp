// sorrel-view: paints an authored tree of views into a PNG, or prints its layout.

#include "../AuthoredTree.h"
#include "Graphics/GraphicsFile.h"
#include "Graphics/PngFile.h"
#include "View/ViewScene.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace {

struct ViewOptions {
    std::string tree;
    std::string out;
    std::string palette;
    std::string size;                // "642x400", pixels at scale 1
    std::vector<std::string> states; // "hover:path"
    double scale = 1.0;
    bool isDumping = false;
    SceneFolders folders{LUM_GRAPHICS_FOLDER, LUM_PALETTE_FOLDER};
};

void takeSize(ViewScene& scene, const ViewOptions& options) {
    double width = 642.0;
    double height = 400.0;
    if (!options.size.empty() &&
        (std::sscanf(options.size.c_str(), "%lfx%lf", &width, &height) != 2 || width < 1.0 ||
         height < 1.0 || width > 8192.0 || height > 8192.0))
        throw std::runtime_error("a size is given as 642x400");
    scene.window().setScale(options.scale);
    scene.window().setWindowSize(width * options.scale, height * options.scale);
}

/// The view in each preset, in the bank's order, row by row.
void paintAllPalettes(ViewScene& scene, lum::CLinearBitmap& target) {
    constexpr int kColumns = 3;
    const std::vector<std::string> names = scene.listPalettes();
    for (size_t i = 0; i < names.size(); i++) {
        scene.setPalette(names[i]);
        lum::CLinearBitmap one;
        scene.paint(one);
        const int rows = (static_cast<int>(names.size()) + kColumns - 1) / kColumns;
        throwOnError(target.setSize(one.getWidth() * kColumns, one.getHeight() * rows, true),
                     "sheet");
        const int index = static_cast<int>(i);
        one.copyRectTo(target, index % kColumns * one.getWidth(),
                       index / kColumns * one.getHeight(), one.bounds());
    }
}

void show(const ViewOptions& options) {
    ViewScene scene(lum::tools::readAuthoredTree(lum::tools::readFile(options.tree), options.tree),
                    options.folders);
    takeSize(scene, options);
    if (!options.palette.empty() && options.palette != "all") scene.setPalette(options.palette);
    for (const std::string& state : options.states) {
        const size_t colon = state.find(':');
        if (colon == std::string::npos)
            throw std::runtime_error("a state is given as hover:path.of.view");
        scene.setState(state.substr(0, colon), state.substr(colon + 1));
    }
    lum::CLinearBitmap bitmap;
    if (options.palette == "all")
        paintAllPalettes(scene, bitmap);
    else
        scene.paint(bitmap);
    if (options.isDumping) std::fputs(scene.window().dumpLayout().toUtf8().c_str(), stdout);
    if (!options.out.empty()) writePng(bitmap, options.out);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Paints an authored tree of views into a PNG, or prints its layout.");
    ViewOptions options;
    app.add_option("tree", options.tree, "The authored tree; its root is a view")->required();
    app.add_option("--out", options.out, "The PNG to write");
    app.add_option("--scale", options.scale, "Visual scale")->check(CLI::Range(0.25, 8.0));
    app.add_option("--palette", options.palette,
                   "Name of a colour preset, such as Navy; all for a sheet");
    app.add_option("--size", options.size, "Size of the window at scale 1, as 642x400");
    app.add_option("--state", options.states, "A state and the path of its view: hover:a.b");
    app.add_flag("--dump", options.isDumping, "Prints each view's place");
    app.add_option("--graphics", options.folders.graphics, "Folder of built images and fonts");
    app.add_option("--palettes", options.folders.palettes, "Folder of the built palettes");
    CLI11_PARSE(app, argc, argv);
    try {
        show(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sorrel-view: %s\n", error.what());
        return 1;
    }
    return 0;
}
