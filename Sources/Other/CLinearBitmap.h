#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CError.h"
#include "Core/CLumMemAllocator.h"

#include <cstdint>
#include <memory>

namespace lum {

struct CImagePlacement;
struct CCurveStroke;

/// 256 entries of 4 bytes: blue, green, red, unused. Entry 255 is the colour of alpha-only images.
struct CPaletteTable {
    uint8_t entries[256][4];
};

/// What drawing calls a colour. Without a table everything draws white.
struct CDrawColor {
    double opacity = 1.0; // 0 to 1
    const CPaletteTable* table = nullptr;
};

/// A rectangle of pixels; right and bottom lie behind the last pixel.
struct CPixelRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int width() const noexcept { return right - left; }
    int height() const noexcept { return bottom - top; }
    bool empty() const noexcept { return right <= left || bottom <= top; }
    CPixelRect intersected(const CPixelRect& other) const noexcept;
    friend bool operator==(const CPixelRect&, const CPixelRect&) = default;
};

/// A point of a curve in pixels.
struct CCurvePoint {
    double x;
    double y;
};

constexpr int kOpacityNothing = 129;  // 15-bit opacity below which nothing is drawn
constexpr int kOpacitySolid = 32640;  // 15-bit opacity from which a store is solid

/// Opacity as a 15-bit integer, 32768 for 1.
int opacityToFixed(double opacity) noexcept;

/// A bitmap in memory. A pixel is 4 bytes: blue, green, red, fourth byte; rows run top to bottom.
/// Drawing is exact integer arithmetic, so a pixel is the same on every machine. Different parts of
/// one bitmap may be drawn by different threads at once; each call touches its target only.
class CLinearBitmap : public CCheckedObject, public CLumMemAllocator {
public:
    CLinearBitmap() = default;
    ~CLinearBitmap() override;
    CLinearBitmap(const CLinearBitmap&) = delete;
    CLinearBitmap& operator=(const CLinearBitmap&) = delete;

    /// Nothing at the same size; else new pixels, zeroed with `isClearing`. Zero sides leave it empty.
    virtual CErrorResult setSize(int newWidth, int newHeight, bool isClearing);
    /// Hands the bitmap to a device; nothing here.
    virtual void flushToDevice() {}

    int getWidth() const noexcept { return width; }
    int getHeight() const noexcept { return height; }
    int getStride() const noexcept { return stride; } // bytes
    uint8_t* row(int y) noexcept { return pixels + static_cast<ptrdiff_t>(y) * stride; }
    const uint8_t* row(int y) const noexcept { return pixels + static_cast<ptrdiff_t>(y) * stride; }
    CPixelRect bounds() const noexcept { return {0, 0, width, height}; }

    void fillRect(const CPixelRect& rect, const CDrawColor& color, int paletteIndex, double opacity);
    /// Lines with inclusive ends.
    void hLine(int x1, int x2, int y, int red, int green, int blue, int fixedOpacity);
    void vLine(int y1, int y2, int x, int red, int green, int blue, int fixedOpacity);
    void xorRect(const CPixelRect& rect, uint8_t blue, uint8_t green, uint8_t red, uint8_t fourth);
    CErrorResult copyFrom(const CLinearBitmap& source);
    CErrorResult copyRect(const CLinearBitmap& source, const CPixelRect& rect);
    void copyRectTo(CLinearBitmap& target, int targetX, int targetY, const CPixelRect& rect) const;
    void blendFrom(const CLinearBitmap& source, double opacity, const CPixelRect& rect);
    /// Draws a prepared image with its origin at x, y, inside the clip rectangle.
    void drawImage(const CImagePlacement& placement, int x, int y, const CPixelRect& clip);
    void drawCurve(const CCurvePoint* points, int count, const CCurveStroke& stroke,
                   const CPixelRect& clip, bool isSortedByX);

protected:
    uint8_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;

private:
    class CStrokeMask;
    std::unique_ptr<CStrokeMask> strokeMask; // made by the first curve
};

} // namespace lum
