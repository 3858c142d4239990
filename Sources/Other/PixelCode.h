#pragma once

#include <cstdint>

namespace lum {

/// What the runs of a prepared image are painted with.
struct CRowPaint {
    const uint8_t (*table)[4] = nullptr; // 256 palette entries, never null
    uint32_t color = 0;                  // entry 255, with 255 in the fourth byte
    int opacity = 0;                     // 15 bits
};

/// Draws the pixels `skip` to `skip + count` of a row's runs at `target`.
using CImageRow = void (*)(uint8_t* target, const uint8_t* runs, int skip, int count,
                           const CRowPaint& paint);

/// A rectangle of alpha bytes to draw in one colour. An alpha of 0 leaves a pixel alone, 255 stores
/// the colour, anything else blends blue, green and red as d + ((s - d) * alpha >> 8).
struct CAlphaRect {
    uint8_t* target;
    int targetStride;     // bytes
    const uint8_t* alpha; // behind the last row 8 bytes more can be read
    int alphaStride;
    int width;
    int height;
    uint32_t color;
};

/// The inner loops of drawing. Colours are 32 bits in memory order blue, green, red, 255; weights
/// are 15 bits, at most 32,640, and blend as d + ((s - d) * weight >> 15) per byte. All sets give
/// the same bytes. Any thread; each call touches its target only.
struct CPixelCode {
    const char* name;
    void (*fill)(uint8_t* target, int count, uint32_t color);
    void (*blendColor)(uint8_t* target, int count, uint32_t color, int weight);
    void (*blendPixels)(uint8_t* target, const uint8_t* source, int count, int weight);
    /// mask: [count] coverage; bytes of 2 or less are skipped. opacity: 7 bits, 128 for 1.
    void (*blendMask)(uint8_t* target, const uint8_t* mask, int count, uint32_t color, int opacity);
    /// For glyphs, whose runs are so short that finding their ends costs more than the pixels.
    void (*alphaRect)(const CAlphaRect& rect);
    CImageRow imageRow[3][2]; // [1, 2, 4 bytes a pixel][solid, partial]
};

const CPixelCode& plainPixelCode() noexcept;
const CPixelCode& avx2PixelCode() noexcept; // only where the processor has it

/// The set in use: the best that the processor runs, unless a test chose another.
const CPixelCode& pixelCode() noexcept;
/// Draws with another set from now on; null goes back to the best. For tests and benchmarks.
void selectPixelCode(const CPixelCode* code) noexcept;

} // namespace lum
