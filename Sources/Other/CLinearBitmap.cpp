#include "Other/CLinearBitmap.h"

#include "Other/CStrokeMask.h"
#include "Other/PixelCode.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lum {

namespace {

constexpr int kLongestSide = 32767; // pixels; what a window or an image may have
constexpr uint32_t kWhite = 0xFFFFFFFFu;
constexpr int kFullOpacity = 32768;

} // namespace

CPixelRect CPixelRect::intersected(const CPixelRect& other) const noexcept {
    return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
            std::min(bottom, other.bottom)};
}

int opacityToFixed(double opacity) noexcept {
    if (!(opacity > 0.0)) return 0;
    if (opacity >= 1.0) return kFullOpacity;
    return static_cast<int>(std::lround(opacity * kFullOpacity));
}

uint32_t paletteColor(const CPaletteTable* table, int index) noexcept {
    if (!table || index < 0 || index > 255) return kWhite;
    const uint8_t* entry = table->entries[index];
    return static_cast<uint32_t>(entry[0] | entry[1] << 8 | entry[2] << 16) | 0xFF000000u;
}

CLinearBitmap::CLinearBitmap() = default;

CLinearBitmap::~CLinearBitmap() {
    if (pixels) pool::free(pixels);
}

void CLinearBitmap::attachPixels(uint8_t* bytes, int newWidth, int newHeight) {
    pixels = bytes;
    width = newWidth;
    height = newHeight;
    stride = newWidth * 4;
    strokeMasks = std::make_unique<CStrokeMaskList>(width, height);
}

void CLinearBitmap::detachPixels() {
    strokeMasks.reset();
    pixels = nullptr;
    width = height = stride = 0;
}

CErrorResult CLinearBitmap::setSize(int newWidth, int newHeight, bool isClearing) {
    if (newWidth == width && newHeight == height) return nullptr;
    if (pixels) pool::free(pixels);
    detachPixels();
    if (newWidth <= 0 || newHeight <= 0) return nullptr;
    LUM_TRY(checkSize(newWidth, newHeight));
    const size_t bytes = static_cast<size_t>(newWidth) * static_cast<size_t>(newHeight) * 4;
    attachPixels(static_cast<uint8_t*>(pool::alloc(bytes)), newWidth, newHeight);
    if (isClearing) std::memset(pixels, 0, bytes);
    return nullptr;
}

CErrorResult CLinearBitmap::checkSize(int newWidth, int newHeight) {
    if (newWidth > kLongestSide || newHeight > kLongestSide)
        return LUM_FAIL("@lumstr_CLinearBitmap_setSize_TooLarge Bitmap size %1 x %2 is too large.",
                        newWidth, newHeight);
    return nullptr;
}

// ---- Fills and lines

void CLinearBitmap::blendLine(uint8_t* target, int count, uint32_t color, int fixedOpacity) {
    if (fixedOpacity >= kOpacitySolid)
        pixelCode().fill(target, count, color);
    else
        pixelCode().blendColor(target, count, color, fixedOpacity);
}

void CLinearBitmap::fillRect(const CPixelRect& rect, const CDrawColor& color, int paletteIndex,
                             double opacity) {
    const int fixedOpacity = opacityToFixed(color.opacity * opacity);
    const CPixelRect area = rect.intersected(bounds());
    if (fixedOpacity < kOpacityNothing || area.empty()) return;
    const uint32_t value = paletteColor(color.table, paletteIndex);
    for (int y = area.top; y < area.bottom; y++)
        blendLine(row(y) + area.left * 4, area.width(), value, fixedOpacity);
}

namespace {

uint32_t colorOf(int red, int green, int blue) {
    return 0xFF000000u |
           static_cast<uint32_t>((red & 255) << 16 | (green & 255) << 8 | (blue & 255));
}

} // namespace

void CLinearBitmap::hLine(int x1, int x2, int y, int red, int green, int blue, int fixedOpacity) {
    const int first = std::max(x1, 0);
    const int last = std::min(x2, width - 1);
    if (fixedOpacity < kOpacityNothing || y < 0 || y >= height || first > last) return;
    blendLine(row(y) + first * 4, last - first + 1, colorOf(red, green, blue), fixedOpacity);
}

void CLinearBitmap::vLine(int y1, int y2, int x, int red, int green, int blue, int fixedOpacity) {
    const int first = std::max(y1, 0);
    const int last = std::min(y2, height - 1);
    if (fixedOpacity < kOpacityNothing || x < 0 || x >= width) return;
    const uint32_t color = colorOf(red, green, blue);
    for (int y = first; y <= last; y++) blendLine(row(y) + x * 4, 1, color, fixedOpacity);
}

void CLinearBitmap::xorRect(const CPixelRect& rect, uint8_t blue, uint8_t green, uint8_t red,
                            uint8_t fourth) {
    const CPixelRect area = rect.intersected(bounds());
    const uint8_t masks[4] = {blue, green, red, fourth};
    for (int y = area.top; y < area.bottom; y++) {
        uint8_t* line = row(y);
        for (int i = area.left * 4; i < area.right * 4; i++)
            line[i] = static_cast<uint8_t>(line[i] ^ masks[i & 3]);
    }
}

// ---- Between bitmaps

CErrorResult CLinearBitmap::copyFrom(const CLinearBitmap& source) {
    return copyRect(source, source.bounds());
}

CErrorResult CLinearBitmap::copyRect(const CLinearBitmap& source, const CPixelRect& rect) {
    LUM_TRY(setSize(source.width, source.height, false));
    source.copyRectTo(*this, rect.left, rect.top, rect);
    return nullptr;
}

void CLinearBitmap::copyRectTo(CLinearBitmap& target, int targetX, int targetY,
                               const CPixelRect& rect) const {
    const int64_t shiftX = static_cast<int64_t>(targetX) - rect.left;
    const int64_t shiftY = static_cast<int64_t>(targetY) - rect.top;
    if (std::abs(shiftX) > kLongestSide || std::abs(shiftY) > kLongestSide) return;
    const int dx = static_cast<int>(shiftX);
    const int dy = static_cast<int>(shiftY);
    const CPixelRect area =
        rect.intersected(bounds()).intersected({-dx, -dy, target.width - dx, target.height - dy});
    if (area.empty()) return;
    // Within one bitmap a move downward starts at the bottom.
    const bool isUpward = this == &target && dy > 0;
    const auto bytes = static_cast<size_t>(area.width()) * 4;
    for (int i = 0; i < area.height(); i++) {
        const int y = isUpward ? area.bottom - 1 - i : area.top + i;
        std::memmove(target.row(y + dy) + (area.left + dx) * 4, row(y) + area.left * 4, bytes);
    }
}

void CLinearBitmap::blendFrom(const CLinearBitmap& source, double opacity, const CPixelRect& rect) {
    const int fixedOpacity = opacityToFixed(opacity);
    if (source.width != width || source.height != height || fixedOpacity < kOpacityNothing) return;
    if (fixedOpacity >= kOpacitySolid) return source.copyRectTo(*this, rect.left, rect.top, rect);
    const CPixelRect area = rect.intersected(bounds());
    if (area.empty()) return;
    for (int y = area.top; y < area.bottom; y++)
        pixelCode().blendPixels(row(y) + area.left * 4, source.row(y) + area.left * 4, area.width(),
                                fixedOpacity);
}

} // namespace lum
