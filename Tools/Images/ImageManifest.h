#pragma once

#include <stdexcept>
#include <string>
#include <vector>

/// A fault in authored graphics; the text starts with file and line.
class ImageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A rectangle of a drawing, interface units.
struct DrawingRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

/// What a pixel of a layer holds; the numbers are its bytes.
enum class PixelKind { Alpha = 1, Index = 2, Color = 4 };

/// One layer to cut out of a drawing. A second cut with the same image index is drawn over it.
struct LayerCut {
    int line = 0; // of the manifest
    int image = 0;
    std::string drawing; // path
    DrawingRect rect;
    double originX = 0.0; // of the image within the rectangle, interface units
    double originY = 0.0;
    double extraWidth = 0.0; // room in a line of text beyond the rectangle, interface units
    double extraHeight = 0.0;
    int slot = 0;
    int alignFlags = 0;
    int tone = -1; // -1: taken from the pixels
    PixelKind kind = PixelKind::Index;
};

struct NamedRange {
    std::string name;
    int first = 0;
    int last = 0;
};

/// What a `.images` file asks for: one image set. Gfx/Imagesets/README.md tells the words.
struct ImageManifest {
    std::string path;
    double scale = 2.0; // data pixels per interface unit
    std::vector<NamedRange> ranges;
    std::vector<LayerCut> cuts;

    /// "path:line: " before a message.
    ImageError fault(int line, const std::string& message) const;
};

/// Throws ImageError.
ImageManifest readImageManifest(const std::string& path);
