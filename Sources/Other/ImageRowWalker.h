#pragma once

#include "Other/PixelCode.h"

#include <cstring>

// The walk through the runs of a row, and the painters of the three pixel kinds, over the
// primitives of one instruction set. Included once by the file of each set. All of it has internal
// linkage, so that no code of a wide set is ever linked into another file; for the same reason it
// uses no inline functions of the standard library.

namespace lum {
namespace {

enum RunKind { kTransparentRun = 0, kTranslucentRun = 1, kOpaqueRun = 2, kPlainRun = 3 };

constexpr uint32_t kFourthByte = 0xFF000000u;
constexpr int kLowestCoverage = 2; // of a stroke's mask; up to it nothing is drawn

inline uint32_t colorAt(const uint8_t (*table)[4], int index) {
    uint32_t color;
    memcpy(&color, table[index], sizeof color);
    return color | kFourthByte;
}

inline uint32_t pixelAt(const uint8_t* bytes) {
    uint32_t color;
    memcpy(&color, bytes, sizeof color);
    return color | kFourthByte;
}

/// Stores palette colours. Nothing wider is faster: each is a look-up of its own.
inline void storeIndices(uint8_t* target, const uint8_t* indices, int count,
                         const uint8_t (*table)[4]) {
    for (int i = 0; i < count; i++) {
        const uint32_t color = colorAt(table, indices[i]);
        memcpy(target + i * 4, &color, sizeof color);
    }
}

/// 1 byte: alpha of the one colour.
template <class Ops, bool Partial>
struct CAlphaPainter {
    static constexpr int kPixelBytes = 1;
    static constexpr int kOpaqueBytes = 0;
    static void translucent(uint8_t* target, const uint8_t* data, int count,
                            const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::alphaColorPartial(target, data, count, paint.color, paint.opacity);
        else
            Ops::alphaColor(target, data, count, paint.color);
    }
    static void opaque(uint8_t* target, const uint8_t*, int count, const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::blendColor(target, count, paint.color, paint.opacity);
        else
            Ops::fill(target, count, paint.color);
    }
    static void plain(uint8_t* target, const uint8_t* data, int count, const CRowPaint& paint) {
        opaque(target, data, count, paint);
    }
};

/// 2 bytes: palette index, alpha.
template <class Ops, bool Partial>
struct CIndexPainter {
    static constexpr int kPixelBytes = 2;
    static constexpr int kOpaqueBytes = 1;
    static void translucent(uint8_t* target, const uint8_t* data, int count,
                            const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::weightPairs(target, data, count, paint.table, paint.opacity >> 8);
        else
            Ops::alphaPairs(target, data, count, paint.table);
    }
    static void opaque(uint8_t* target, const uint8_t* data, int count, const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::blendIndices(target, data, count, paint.table, paint.opacity);
        else
            storeIndices(target, data, count, paint.table);
    }
    static void plain(uint8_t* target, const uint8_t* data, int count, const CRowPaint& paint) {
        const uint32_t color = colorAt(paint.table, *data);
        if constexpr (Partial)
            Ops::blendColor(target, count, color, paint.opacity);
        else
            Ops::fill(target, count, color);
    }
};

/// 4 bytes: blue, green, red, alpha.
template <class Ops, bool Partial>
struct CColorPainter {
    static constexpr int kPixelBytes = 4;
    static constexpr int kOpaqueBytes = 4;
    static void translucent(uint8_t* target, const uint8_t* data, int count,
                            const CRowPaint& paint) {
        Ops::weightPixels(target, data, count, Partial ? paint.opacity >> 8 : 128);
    }
    static void opaque(uint8_t* target, const uint8_t* data, int count, const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::blendPixels(target, data, count, paint.opacity);
        else
            memcpy(target, data, static_cast<size_t>(count) * 4);
    }
    static void plain(uint8_t* target, const uint8_t* data, int count, const CRowPaint& paint) {
        if constexpr (Partial)
            Ops::blendColor(target, count, pixelAt(data), paint.opacity);
        else
            Ops::fill(target, count, pixelAt(data));
    }
};

/// Bytes that follow the header of a run.
template <class Painter>
inline int runDataBytes(int kind, int length) {
    switch (kind) {
    case kTranslucentRun:
        return length * Painter::kPixelBytes;
    case kOpaqueRun:
        return length * Painter::kOpaqueBytes;
    case kPlainRun:
        return Painter::kOpaqueBytes;
    default:
        return 0;
    }
}

/// Draws the part of a run from its pixel `first` on.
template <class Painter>
inline void drawRun(uint8_t* target, const uint8_t* data, int kind, int first, int count,
                    const CRowPaint& paint) {
    if (kind == kTranslucentRun)
        Painter::translucent(target, data + first * Painter::kPixelBytes, count, paint);
    else if (kind == kOpaqueRun)
        Painter::opaque(target, data + first * Painter::kOpaqueBytes, count, paint);
    else if (kind == kPlainRun)
        Painter::plain(target, data, count, paint);
}

template <class Painter>
void walkRow(uint8_t* target, const uint8_t* runs, int skip, int count, const CRowPaint& paint) {
    int position = -skip; // of the run, from the first visible pixel
    while (position < count) {
        int header = *runs++;
        if (header & 4) header |= *runs++ << 8;
        const int length = header >> 3;
        const int kind = header & 3;
        const int first = position < 0 ? -position : 0;
        const int end = length < count - position ? length : count - position;
        if (kind != kTransparentRun && first < end)
            drawRun<Painter>(target + (position + first) * 4, runs, kind, first, end - first,
                             paint);
        runs += runDataBytes<Painter>(kind, length);
        position += length;
    }
}

/// The table of a set.
template <class Ops>
constexpr CPixelCode pixelCodeOf(const char* name) {
    return {name,
            &Ops::fill,
            &Ops::blendColor,
            &Ops::blendPixels,
            &Ops::blendMask,
            &Ops::alphaRect,
            {{&walkRow<CAlphaPainter<Ops, false>>, &walkRow<CAlphaPainter<Ops, true>>},
             {&walkRow<CIndexPainter<Ops, false>>, &walkRow<CIndexPainter<Ops, true>>},
             {&walkRow<CColorPainter<Ops, false>>, &walkRow<CColorPainter<Ops, true>>}}};
}

} // namespace
} // namespace lum
