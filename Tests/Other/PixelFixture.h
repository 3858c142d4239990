#pragma once

#include "Other/CImageSet.h"
#include "Other/PixelCode.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

using CPixelBytes = std::vector<uint8_t>;

/// Seeded noise. A failing test prints the seed.
class CNoise {
public:
    explicit CNoise(unsigned start) : engine(start) {}
    /// From `low` to `high`, both included.
    int number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine); }
    double real(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine);
    }
    CPixelBytes bytes(int count) {
        CPixelBytes out;
        for (int i = 0; i < count; i++) out.push_back(static_cast<uint8_t>(number(0, 255)));
        return out;
    }
    /// Rows of pixels with stretches of all kinds of alpha, as images have them.
    CPixelBytes image(int width, int height, int bytesPerPixel) {
        CPixelBytes out = bytes(width * height * bytesPerPixel);
        int left = 0;
        int kind = 0;
        for (int i = 0; i < width * height; i++) {
            if (left-- == 0) {
                left = number(0, 20);
                kind = number(0, 3);
            }
            uint8_t* pixel = out.data() + i * bytesPerPixel;
            if (kind == 3)
                for (int c = 0; c + 1 < bytesPerPixel; c++) pixel[c] = 77;
            if (kind != 1)
                pixel[bytesPerPixel - 1] =
                    static_cast<uint8_t>(kind == 0 ? number(0, 3) : number(254, 255));
        }
        return out;
    }

private:
    std::mt19937 engine;
};

inline lum::CPaletteTable noisyTable(CNoise& noise) {
    lum::CPaletteTable table;
    for (auto& entry : table.entries)
        for (uint8_t& byte : entry) byte = static_cast<uint8_t>(noise.number(0, 255));
    return table;
}

inline void fillWithNoise(lum::CLinearBitmap& bitmap, int width, int height, CNoise& noise) {
    ASSERT_FALSE(bitmap.setSize(width, height, false));
    const CPixelBytes bytes = noise.bytes(width * height * 4);
    std::copy(bytes.begin(), bytes.end(), bitmap.row(0));
}

inline CPixelBytes bytesOf(const lum::CLinearBitmap& bitmap) {
    if (bitmap.getHeight() == 0) return {};
    return {bitmap.row(0), bitmap.row(0) + bitmap.getStride() * bitmap.getHeight()};
}

/// A layer of plain pixels that waits for the atlas.
inline std::unique_ptr<lum::CImageLayer> layerOf(const CPixelBytes& pixels, int width, int height,
                                                 int bytesPerPixel, double scale = 2.0) {
    auto layer = std::make_unique<lum::CImageLayer>();
    layer->scale = scale;
    layer->invScale = 1.0 / scale;
    layer->width = width;
    layer->height = height;
    layer->bytesPerPixel = bytesPerPixel;
    layer->setPixels({pixels.data(), pixels.size()});
    return layer;
}

constexpr int kPixelKinds[] = {1, 2, 4}; // bytes a pixel
