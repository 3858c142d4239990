#include "Other/RunCoding.h"

#include <algorithm>
#include <cstring>

namespace lum {

namespace {

enum RunKind { kTransparent = 0, kTranslucent = 1, kOpaque = 2, kPlain = 3 };

constexpr int kShortRun = 32;        // pixels; runs under it have a header of one byte
constexpr int kLongHeader = 4;       // the bit that says that a second byte follows
constexpr size_t kRowTableStart = 2; // behind the number of rows
constexpr size_t kRowTableEntry = 4; // bytes

int opaqueBytesOf(int bytesPerPixel) {
    return bytesPerPixel == 4 ? 4 : bytesPerPixel - 1;
}

/// Codes rows into a buffer that holds the worst case.
class CRunEncoder {
public:
    CRunEncoder(uint8_t* target, int pixelBytes, bool allOpaque)
        : out(target), bytesPerPixel(pixelBytes), isWhollyOpaque(allOpaque) {}

    /// Codes a row; false, and nothing coded, for one that is wholly transparent.
    bool addRow(const uint8_t* row, int width) {
        if (runLength(row, 0, width, kTransparent, width) == width) return false;
        for (int x = 0; x < width;) {
            const int kind = kindAt(row, x);
            const int length = runLength(row, x, width, kind, kLongestRun);
            addRun(row + x * bytesPerPixel, kind, length);
            x += length;
        }
        return true;
    }
    uint8_t* end() const { return out; }

private:
    int kindAt(const uint8_t* row, int x) const {
        if (isWhollyOpaque) return kOpaque;
        const int alpha = row[(x + 1) * bytesPerPixel - 1];
        return alpha <= kTransparentAlpha ? kTransparent
               : alpha >= kOpaqueAlpha    ? kOpaque
                                          : kTranslucent;
    }
    int runLength(const uint8_t* row, int x, int width, int kind, int longest) const {
        const int end = x + std::min(width - x, longest);
        int at = x;
        while (at < end && kindAt(row, at) == kind) at++;
        return at - x;
    }
    void addRun(const uint8_t* pixels, int kind, int length) {
        if (kind == kOpaque && isPlain(pixels, length)) kind = kPlain;
        addHeader(kind, length);
        const int bytes = length * bytesPerPixel;
        if (kind == kTranslucent) {
            std::memcpy(out, pixels, static_cast<size_t>(bytes));
            out += bytes;
        } else if (kind == kOpaque) {
            for (int i = 0; i < length; i++) addOpaque(pixels + i * bytesPerPixel);
        } else if (kind == kPlain) {
            addOpaque(pixels);
        }
    }
    void addHeader(int kind, int length) {
        const int header = length * 8 + kind + (length < kShortRun ? 0 : kLongHeader);
        *out++ = static_cast<uint8_t>(header & 255);
        if (length >= kShortRun) *out++ = static_cast<uint8_t>(header >> 8);
    }
    void addOpaque(const uint8_t* pixel) {
        if (bytesPerPixel == 2) *out++ = pixel[0];
        if (bytesPerPixel != 4) return;
        std::memcpy(out, pixel, 3);
        out[3] = 255;
        out += 4;
    }
    /// Whether opaque pixels all have one colour.
    bool isPlain(const uint8_t* pixels, int length) const {
        const auto colorBytes = static_cast<size_t>(bytesPerPixel - 1);
        for (int i = 1; i < length; i++)
            if (std::memcmp(pixels, pixels + i * bytesPerPixel, colorBytes) != 0) return false;
        return true;
    }

    uint8_t* out;
    int bytesPerPixel;
    bool isWhollyOpaque;
};

/// Reads the runs of a block from outside.
class CRunChecker {
public:
    CRunChecker(const uint8_t* bytes, size_t byteCount, int pixelBytes)
        : block(bytes),
          size(byteCount),
          bytesPerPixel(static_cast<size_t>(pixelBytes)),
          opaqueBytes(static_cast<size_t>(opaqueBytesOf(pixelBytes))) {}

    /// Whether the runs at a position cover `width` pixels; moves the position behind them.
    bool checkRow(size_t& position, int width) const {
        int covered = 0;
        while (covered < width) {
            if (position >= size) return false;
            int header = block[position++];
            if (header & kLongHeader) {
                if (position >= size) return false;
                header |= block[position++] << 8;
            }
            const int length = header >> 3;
            const size_t bytes = dataBytes(header & 3, static_cast<size_t>(length));
            if (length == 0 || bytes > size - position) return false;
            position += bytes;
            covered += length;
        }
        return covered == width;
    }

private:
    size_t dataBytes(int kind, size_t length) const {
        switch (kind) {
        case kTranslucent:
            return length * bytesPerPixel;
        case kOpaque:
            return length * opaqueBytes;
        case kPlain:
            return opaqueBytes;
        default:
            return 0;
        }
    }

    const uint8_t* block;
    size_t size;
    size_t bytesPerPixel;
    size_t opaqueBytes;
};

} // namespace

CByteBuffer encodeRuns(const uint8_t* pixels, int width, int height, int stride, int bytesPerPixel,
                       bool isWhollyOpaque) {
    width = std::max(width, 0);
    height = std::clamp(height, 0, kTallestBlock);
    const size_t tableEnd = kRowTableStart + static_cast<size_t>(height) * kRowTableEntry;
    // At worst each pixel is a run of its own, with a header in front.
    const size_t worstRow = static_cast<size_t>(width) * static_cast<size_t>(bytesPerPixel + 1);
    CByteBuffer work;
    work.resize(tableEnd + worstRow * static_cast<size_t>(height));
    uint8_t* block = work.data();
    const auto rows = static_cast<uint16_t>(height);
    std::memcpy(block, &rows, sizeof rows);

    CRunEncoder encoder(block + tableEnd, bytesPerPixel, isWhollyOpaque);
    for (int y = 0; y < height; y++) {
        auto offset = static_cast<uint32_t>(encoder.end() - block);
        if (!encoder.addRow(pixels + static_cast<ptrdiff_t>(y) * stride, width)) offset = 0;
        std::memcpy(block + kRowTableStart + static_cast<size_t>(y) * kRowTableEntry, &offset,
                    sizeof offset);
    }
    return CByteBuffer(block, static_cast<size_t>(encoder.end() - block));
}

bool checkRuns(const uint8_t* block, size_t size, int width, int height, int bytesPerPixel) {
    if (size < kRowTableStart || width < 0 || height < 0) return false;
    uint16_t rows;
    std::memcpy(&rows, block, sizeof rows);
    size_t position = kRowTableStart + rows * kRowTableEntry; // where the next row may start
    if (rows != height || position > size) return false;
    const CRunChecker checker(block, size, bytesPerPixel);
    for (size_t y = 0; y < rows; y++) {
        uint32_t offset;
        std::memcpy(&offset, block + kRowTableStart + y * kRowTableEntry, sizeof offset);
        if (offset == 0) continue;
        if (offset < position) return false;
        position = offset;
        if (!checker.checkRow(position, width)) return false;
    }
    return true;
}

} // namespace lum
