#pragma once

#include "Core/CByteBuffer.h"

namespace lum {

// Run-coded pixels, the form in which images are drawn. A block starts with the number of rows (16
// bits) and the offset of each row's runs from the start of the block (32 bits), 0 for a row that
// is wholly transparent. A row's runs cover exactly its width. A run has a header, `length` * 8 +
// kind in one byte when the length is under 32, else that + 4 in two bytes; kinds and what follows:
//   0 transparent       nothing
//   1 translucent       `length` whole pixels
//   2 opaque            `length` opaque values
//   3 opaque, one colour  one opaque value
// An opaque value has no bytes for pixels of 1 byte, an index for those of 2, and four for those of
// 4, the last one 255.

constexpr int kLongestRun = 8191;    // pixels
constexpr int kTransparentAlpha = 3; // the highest alpha that counts as transparent
constexpr int kOpaqueAlpha = 254;    // the lowest that counts as opaque
constexpr int kTallestBlock = 65535; // rows

/// Encodes pixels as a block. pixels: `height` rows of `width` * `bytesPerPixel` bytes, `stride`
/// bytes apart. isWhollyOpaque: the alpha of 4-byte pixels means nothing.
CByteBuffer encodeRuns(const uint8_t* pixels, int width, int height, int stride, int bytesPerPixel,
                       bool isWhollyOpaque = false);
/// True when a block from outside can be drawn without reading beyond it: it has `height` rows,
/// which lie one behind the other and each cover `width` pixels.
bool checkRuns(const uint8_t* block, size_t size, int width, int height, int bytesPerPixel);

} // namespace lum
