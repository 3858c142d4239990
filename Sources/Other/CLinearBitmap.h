#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CError.h"
#include "Core/CLumMemAllocator.h"

#include <cstdint>
#include <memory>

namespace lum {

class CStrokeMaskList;
struct CCurveStroke;
struct CImagePlacement;

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

constexpr int kOpacityNothing = 129; // 15-bit opacity below which nothing is drawn
constexpr int kOpacitySolid = 32640; // 15-bit opacity from which a store is solid

/// Opacity as a 15-bit integer, 32768 for 1.
int opacityToFixed(double opacity) noexcept;

/// A bitmap in memory. A pixel is 4 bytes: blue, green, red, fourth byte; rows run top to bottom.
/// Drawing is exact integer arithmetic, so a pixel is the same on every machine. Different parts of
/// one bitmap may be drawn by different threads at once; each call touches its target only.
class CLinearBitmap : public CCheckedObject, public CLumMemAllocator {
public:
    CLinearBitmap();
    ~CLinearBitmap() override;
    CLinearBitmap(const CLinearBitmap&) = delete;
    CLinearBitmap& operator=(const CLinearBitmap&) = delete;

    /// Nothing at the same size; else new pixels, zeroed with `isClearing`. Zero sides leave it
    /// empty. Error: a side of more than 32,767 pixels, which leaves it empty too.
    virtual CErrorResult setSize(int newWidth, int newHeight, bool isClearing);
    /// Hands the bitmap to a device; nothing here.
    virtual void flushToDevice() {}

    int getWidth() const noexcept { return width; }
    int getHeight() const noexcept { return height; }
    int getStride() const noexcept { return stride; } // bytes
    uint8_t* row(int y) noexcept { return pixels + static_cast<ptrdiff_t>(y) * stride; }
    const uint8_t* row(int y) const noexcept { return pixels + static_cast<ptrdiff_t>(y) * stride; }
    CPixelRect bounds() const noexcept { return {0, 0, width, height}; }

    // All drawing clips to the bitmap. Opacities multiply; what is too faint draws nothing.

    /// Fills with a palette entry; white for an index outside 0 to 255 or a colour without a table.
    void fillRect(const CPixelRect& rect, const CDrawColor& color, int paletteIndex,
                  double opacity);
    /// Lines with inclusive ends.
    void hLine(int x1, int x2, int y, int red, int green, int blue, int fixedOpacity);
    void vLine(int y1, int y2, int x, int red, int green, int blue, int fixedOpacity);
    void xorRect(const CPixelRect& rect, uint8_t blue, uint8_t green, uint8_t red, uint8_t fourth);
    CErrorResult copyFrom(const CLinearBitmap& source);
    CErrorResult copyRect(const CLinearBitmap& source, const CPixelRect& rect);
    /// Copies a rectangle to where its corner comes to lie at targetX, targetY of another bitmap.
    void copyRectTo(CLinearBitmap& target, int targetX, int targetY, const CPixelRect& rect) const;
    /// Blends a rectangle of a bitmap of the same size into the same place.
    void blendFrom(const CLinearBitmap& source, double opacity, const CPixelRect& rect);
    /// Draws a prepared image with its origin at x, y, inside the clip rectangle.
    void drawImage(const CImagePlacement& placement, int x, int y, const CPixelRect& clip);
    /// Draws a polyline through the points; see CStrokeBrush. With `isSortedByX` the points behind
    /// the clip rectangle's right edge are not looked at.
    void drawCurve(const CCurvePoint* points, int count, const CCurveStroke& stroke,
                   const CPixelRect& clip, bool isSortedByX);

protected:
    // For a subclass whose pixels come from elsewhere: it attaches them in its own setSize, and
    // detaches them before this class is destroyed.

    /// Error: a side of more than 32,767 pixels.
    static CErrorResult checkSize(int newWidth, int newHeight);
    /// Takes pixels, rows without padding, in place of none.
    void attachPixels(uint8_t* bytes, int newWidth, int newHeight);
    /// Forgets the pixels and leaves the bitmap empty.
    void detachPixels();

    uint8_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0; // bytes

private:
    void blendLine(uint8_t* target, int count, uint32_t color, int fixedOpacity);

    std::unique_ptr<CStrokeMaskList> strokeMasks; // of the present size
};

/// The table's entry as a colour of 32 bits with 255 in the fourth byte; white without an entry.
uint32_t paletteColor(const CPaletteTable* table, int index) noexcept;

} // namespace lum
