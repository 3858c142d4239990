#pragma once

#include "Images/ImageManifest.h"

#include <cstdint>
#include <string>
#include <vector>

/// A vector drawing as pixels with straight (not premultiplied) colour.
class Drawing {
public:
    /// Rasterises an SVG file whose width and height are interface units. Throws ImageError.
    Drawing(const std::string& path, double scale);

    /// Pixels of a rectangle, `bytesPerPixel` as the kind says. Colours of transparent pixels are
    /// those of their visible neighbours, because resampling treats colour and alpha apart and
    /// would draw in whatever stands there. Throws std::invalid_argument: a rectangle that leaves
    /// the drawing or does not lie on pixels; colour in a drawing that must be grey.
    std::vector<uint8_t> cut(const DrawingRect& rect, PixelKind kind, int& width,
                             int& height) const;

private:
    struct Pixel {
        uint8_t blue = 0;
        uint8_t green = 0;
        uint8_t red = 0;
        uint8_t alpha = 0;
    };
    using Pixels = std::vector<Pixel>;

    void takePixels(const uint8_t* data, int stride);
    void checkGrey(const Pixel& pixel, int x, int y) const;
    static void bleed(Pixels& pixels, int width, int height);

    std::string path;
    double scale;
    int width = 0;
    int height = 0;
    Pixels pixels;
};
