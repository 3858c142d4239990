#include "Other/ImageRowWalker.h"

#include <cstddef>

// The plain loops: they say what drawing is, and the wide sets are compared with them.

namespace lum {

namespace {

struct CPlainOps {
    /// d + ((s - d) * weight >> 15) on the lowest `Channels` bytes.
    template <int Channels>
    static void blend(uint8_t* target, uint32_t color, int weight) {
        for (int c = 0; c < Channels; c++) {
            const int s = static_cast<int>(color >> (8 * c) & 255);
            const int d = target[c];
            target[c] = static_cast<uint8_t>(d + ((s - d) * weight >> 15));
        }
    }

    static void fill(uint8_t* target, int count, uint32_t color) {
        for (int i = 0; i < count; i++) memcpy(target + i * 4, &color, sizeof color);
    }
    static void blendColor(uint8_t* target, int count, uint32_t color, int weight) {
        for (int i = 0; i < count; i++) blend<4>(target + i * 4, color, weight);
    }
    static void blendPixels(uint8_t* target, const uint8_t* source, int count, int weight) {
        for (int i = 0; i < count * 4; i++)
            target[i] = static_cast<uint8_t>(target[i] + ((source[i] - target[i]) * weight >> 15));
    }
    static void blendMask(uint8_t* target, const uint8_t* mask, int count, uint32_t color,
                          int opacity) {
        for (int i = 0; i < count; i++)
            if (mask[i] > kLowestCoverage) blend<4>(target + i * 4, color, mask[i] * opacity);
    }

    static void alphaColor(uint8_t* target, const uint8_t* alpha, int count, uint32_t color) {
        for (int i = 0; i < count; i++) blendAlpha(target + i * 4, color, alpha[i]);
    }
    static void alphaColorPartial(uint8_t* target, const uint8_t* alpha, int count, uint32_t color,
                                  int opacity) {
        for (int i = 0; i < count; i++) {
            const int weight = alpha[i] * opacity;
            for (int c = 0; c < 3; c++) {
                const int s = static_cast<int>(color >> (8 * c) & 255);
                const int d = target[i * 4 + c];
                target[i * 4 + c] = static_cast<uint8_t>(d + ((s - d) * weight >> 23));
            }
        }
    }

    static void alphaRect(const CAlphaRect& rect) {
        for (int y = 0; y < rect.height; y++) {
            uint8_t* target = rect.target + static_cast<ptrdiff_t>(y) * rect.targetStride;
            const uint8_t* alpha = rect.alpha + static_cast<ptrdiff_t>(y) * rect.alphaStride;
            for (int x = 0; x < rect.width; x++) {
                if (alpha[x] == 255)
                    fill(target + x * 4, 1, rect.color);
                else
                    blendAlpha(target + x * 4, rect.color, alpha[x]);
            }
        }
    }

    static void alphaPairs(uint8_t* target, const uint8_t* pairs, int count,
                           const uint8_t (*table)[4]) {
        for (int i = 0; i < count; i++)
            blendAlpha(target + i * 4, colorAt(table, pairs[i * 2]), pairs[i * 2 + 1]);
    }
    static void weightPairs(uint8_t* target, const uint8_t* pairs, int count,
                            const uint8_t (*table)[4], int factor) {
        for (int i = 0; i < count; i++)
            blend<4>(target + i * 4, colorAt(table, pairs[i * 2]), pairs[i * 2 + 1] * factor);
    }
    static void blendIndices(uint8_t* target, const uint8_t* indices, int count,
                             const uint8_t (*table)[4], int weight) {
        for (int i = 0; i < count; i++)
            blend<4>(target + i * 4, colorAt(table, indices[i]), weight);
    }
    static void weightPixels(uint8_t* target, const uint8_t* source, int count, int factor) {
        for (int i = 0; i < count; i++)
            blend<4>(target + i * 4, pixelAt(source + i * 4), source[i * 4 + 3] * factor);
    }

private:
    /// d + ((s - d) * alpha >> 8); the fourth byte stays.
    static void blendAlpha(uint8_t* target, uint32_t color, int alpha) {
        for (int c = 0; c < 3; c++) {
            const int s = static_cast<int>(color >> (8 * c) & 255);
            const int d = target[c];
            target[c] = static_cast<uint8_t>(d + ((s - d) * alpha >> 8));
        }
    }
};

constexpr CPixelCode kPlainCode = pixelCodeOf<CPlainOps>("plain");

} // namespace

const CPixelCode& plainPixelCode() noexcept {
    return kPlainCode;
}

} // namespace lum
