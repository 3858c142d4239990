#include "Other/CImageSet.h"
#include "Other/PixelCode.h"

#include <algorithm>
#include <cstring>

// Drawing of prepared images into a bitmap.

namespace lum {

namespace {

constexpr int kAlphaEntry = 255;     // the palette entry of alpha-only images
constexpr size_t kRowCountBytes = 2; // in front of the row table of a run-coded block

const CPaletteTable& whiteTable() {
    static const CPaletteTable table = [] {
        CPaletteTable white;
        std::memset(&white, 255, sizeof white);
        return white;
    }();
    return table;
}

uint32_t rowOffset(const uint8_t* block, int y) {
    uint32_t offset;
    std::memcpy(&offset, block + kRowCountBytes + static_cast<size_t>(y) * 4, sizeof offset);
    return offset;
}

int kindIndex(int bytesPerPixel) {
    return bytesPerPixel == 4 ? 2 : bytesPerPixel - 1;
}

} // namespace

void CLinearBitmap::drawImage(const CImagePlacement& placement, int x, int y,
                              const CPixelRect& clip) {
    const CImageLayerData* data = placement.data;
    if (!data || !data->runs() || placement.fixedOpacity < kOpacityNothing) return;
    const int left = x + placement.offsetX;
    const int top = y + placement.offsetY;
    const CPixelRect image{left, top, left + std::min(placement.width, data->width),
                           top + std::min(placement.height, data->height)};
    const CPixelRect area = image.intersected(clip).intersected(bounds());
    if (area.empty()) return;

    const CPaletteTable& table = placement.color.table ? *placement.color.table : whiteTable();
    if (const uint8_t* alpha = placement.isPartial ? nullptr : data->alphaRows()) {
        const int skipped = (area.top - top) * data->width + area.left - left;
        pixelCode().alphaRect({row(area.top) + area.left * 4, getStride(), alpha + skipped,
                               data->width, area.width(), area.height(),
                               paletteColor(&table, kAlphaEntry)});
        return;
    }
    const CRowPaint paint{table.entries, paletteColor(&table, kAlphaEntry), placement.fixedOpacity};
    const CImageRow drawRow =
        pixelCode().imageRow[kindIndex(data->bytesPerPixel)][placement.isPartial ? 1 : 0];
    const uint8_t* block = data->runs();
    for (int line = area.top; line < area.bottom; line++)
        if (const uint32_t offset = rowOffset(block, line - top))
            drawRow(row(line) + area.left * 4, block + offset, area.left - left, area.width(),
                    paint);
}

} // namespace lum
