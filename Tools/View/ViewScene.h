#pragma once

#include "CompiledTree.h"
#include "UI/CHeadlessWindow.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// Where the built parts of the interface lie.
struct SceneFolders {
    std::string graphics; // .is and .fnt files
    std::string palettes; // Palette.xml and the bank of presets
};

/// An authored view in a window without a window system, with the product's images, fonts and
/// colours around it: image sets at "shared::is.<name>", fonts at "shared::font.<name>", the
/// palette and the style at "ui.palette" and "ui.style". One at a time in a program.
class ViewScene {
public:
    /// view: the authored root view. Throws std::runtime_error.
    ViewScene(const lum::tools::CompiledNode& view, const SceneFolders& folders);
    ~ViewScene();

    /// Takes a preset of the bank. Throws std::runtime_error when there is none of that name.
    void setPalette(const std::string& name);
    /// Names of the bank's presets in its order.
    std::vector<std::string> listPalettes() const;
    /// Sets a view state of the object at a path below the root view, and lets the change end.
    void setState(const std::string& state, const std::string& path);
    /// Lays out, paints all into the bitmap.
    void paint(lum::CLinearBitmap& target);
    lum::CHeadlessWindow& window() { return *theWindow; }

private:
    void start(const lum::tools::CompiledNode& view);
    lum::tools::CompiledNode makeShared() const;
    lum::tools::CompiledNode makeRoot(const lum::tools::CompiledNode& view) const;

    SceneFolders folders;
    std::filesystem::path records; // the palette's cache goes here, not to the user's settings
    std::string data[2];           // compiled trees
    lum::CObject* root = nullptr;
    lum::CHeadlessWindow* theWindow = nullptr;
};
