#include "Graphics/ContactSheet.h"

#include "Graphics/GraphicsFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kGap = 4;             // pixels between cells
constexpr uint8_t kDarkGround = 40; // greys
constexpr uint8_t kLightGround = 216;
constexpr uint8_t kLightText = 24;

/// The pixels that an image reaches at a scale, from its origin.
lum::CPixelRect extentOf(const lum::CImage& image, double scale) {
    lum::CPixelRect extent{0, 0, 1, 1};
    for (const auto& layer : image.layers) {
        const auto place = lum::CImagePlacement::place(*layer, scale, {}, 1.0);
        extent.left = std::min(extent.left, place.offsetX);
        extent.top = std::min(extent.top, place.offsetY);
        extent.right = std::max(extent.right, place.offsetX + place.width);
        extent.bottom = std::max(extent.bottom, place.offsetY + place.height);
    }
    return extent;
}

/// An image and where its cell starts.
struct Cell {
    const lum::CImage* image;
    lum::CPixelRect extent;
    int x;
    int y;
};

/// Puts the images in rows; `height` takes the height of the sheet.
std::vector<Cell> arrangeCells(const lum::CImageSet& set, const SheetOptions& options,
                               int& height) {
    std::vector<Cell> cells;
    int x = kGap;
    int y = kGap;
    int rowHeight = 0;
    for (int index = 0; index < set.getImageLimit(); index++) {
        const lum::CImage* image = set.getImage(index);
        if (!image || image->layers.empty()) continue;
        const lum::CPixelRect extent = extentOf(*image, options.scale);
        if (x > kGap && x + extent.width() + kGap > options.width) {
            x = kGap;
            y += rowHeight + kGap;
            rowHeight = 0;
        }
        cells.push_back({image, extent, x, y});
        x += extent.width() + kGap;
        rowHeight = std::max(rowHeight, extent.height());
    }
    height = y + rowHeight + kGap;
    return cells;
}

} // namespace

const lum::CPaletteTable& greyRamp() {
    static const lum::CPaletteTable table = [] {
        lum::CPaletteTable ramp;
        for (size_t i = 0; i < 256; i++) std::fill_n(ramp.entries[i], 4, static_cast<uint8_t>(i));
        return ramp;
    }();
    return table;
}

lum::CPaletteTable plainPalette(uint8_t grey) {
    lum::CPaletteTable table;
    for (auto& entry : table.entries) std::fill_n(entry, 4, grey);
    return table;
}

void drawContactSheet(const lum::CImageSet& set, const SheetOptions& options,
                      lum::CLinearBitmap& target) {
    int height = 0;
    const std::vector<Cell> cells = arrangeCells(set, options, height);
    throwOnError(target.setSize(options.width, height, true), "sheet");
    const lum::CPaletteTable ground = plainPalette(options.isLight ? kLightGround : kDarkGround);
    const lum::CPaletteTable dark = plainPalette(kLightText);
    target.fillRect(target.bounds(), {1.0, &ground}, 0, 1.0);
    for (const Cell& cell : cells)
        for (const auto& layer : cell.image->layers) {
            const bool isDark = options.isLight && layer->bytesPerPixel == 1;
            const lum::CDrawColor color{1.0, isDark ? &dark : &greyRamp()};
            const auto place = lum::CImagePlacement::prepare(*layer, options.scale, color, 1.0);
            target.drawImage(place, cell.x - cell.extent.left, cell.y - cell.extent.top,
                             target.bounds());
        }
}

void listImageSet(const lum::CImageSet& set) {
    for (const auto& [name, range] : set.getRanges())
        std::printf("range \"%s\" %d-%d\n", name.toUtf8().c_str(), range.first, range.last);
    for (int index = 0; index < set.getImageLimit(); index++) {
        const lum::CImage* image = set.getImage(index);
        if (!image) continue;
        for (const auto& layer : image->layers)
            std::printf("%d: slot %d, %d x %d at %d, %d, %d bytes a pixel, scale %g, advance %g, "
                        "tone %d, align %d, page %d\n",
                        index, layer->colorSlot, layer->width, layer->height, layer->offsetX,
                        layer->offsetY, layer->bytesPerPixel, layer->scale, layer->advance,
                        layer->toneIndex, layer->alignFlags, layer->textureIndex);
    }
}
