#include "Other/PixelFixture.h"

#include "Other/RunCoding.h"

#include <cstring>

using namespace lum;

namespace {

CByteBuffer encode(const CPixelBytes& pixels, int width, int height, int bytesPerPixel) {
    return encodeRuns(pixels.data(), width, height, width * bytesPerPixel, bytesPerPixel);
}

uint32_t offsetOf(const CByteBuffer& block, int row) {
    uint32_t offset;
    std::memcpy(&offset, block.data() + 2 + row * 4, sizeof offset);
    return offset;
}

/// The bytes of the first row's runs.
CPixelBytes runsOf(const CByteBuffer& block) {
    const uint32_t start = offsetOf(block, 0);
    return start == 0 ? CPixelBytes()
                      : CPixelBytes(block.data() + start, block.data() + block.size());
}

/// A run's header.
CPixelBytes header(int length, int kind) {
    const int value = length * 8 + kind + (length < 32 ? 0 : 4);
    if (length < 32) return {static_cast<uint8_t>(value)};
    return {static_cast<uint8_t>(value & 255), static_cast<uint8_t>(value >> 8)};
}

CPixelBytes operator+(CPixelBytes a, const CPixelBytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// One row of 2-byte pixels from (index, alpha) pairs.
CByteBuffer encodePairs(const CPixelBytes& pairs) {
    return encode(pairs, static_cast<int>(pairs.size() / 2), 1, 2);
}

} // namespace

TEST(RunCoding, rowsAreCodedByteForByte) {
    // Transparent, translucent, opaque of two colours, of one colour, and a transparent end.
    EXPECT_EQ(runsOf(encodePairs({1, 3, 2, 4, 3, 253, 4, 254, 5, 255, 9, 0})),
              (header(1, 0) + header(2, 1) + CPixelBytes{2, 4, 3, 253} + header(2, 2) +
               CPixelBytes{4, 5} + header(1, 0)));
    EXPECT_EQ(runsOf(encodePairs({7, 254, 7, 255})), (header(2, 3) + CPixelBytes{7}));
    EXPECT_EQ(runsOf(encode({255, 254, 100}, 3, 1, 1)),
              (header(2, 3) + header(1, 1) + CPixelBytes{100}));
    EXPECT_EQ(runsOf(encode({1, 2, 3, 254, 1, 2, 4, 255}, 2, 1, 4)),
              (header(2, 2) + CPixelBytes{1, 2, 3, 255, 1, 2, 4, 255}));
    EXPECT_EQ(offsetOf(encodePairs({1, 3, 2, 0}), 0), 0u);
    EXPECT_EQ(offsetOf(encode(CPixelBytes(9000, 0), 9000, 1, 1), 0), 0u);
}

TEST(RunCoding, longRunsAreSplitAt8191) {
    EXPECT_EQ(runsOf(encode(CPixelBytes(8191, 255), 8191, 1, 1)), header(8191, 3));
    EXPECT_EQ(runsOf(encode(CPixelBytes(8192, 255), 8192, 1, 1)), header(8191, 3) + header(1, 3));
    EXPECT_EQ(runsOf(encode(CPixelBytes(32, 255), 32, 1, 1)), header(32, 3));
    EXPECT_EQ(runsOf(encode(CPixelBytes(31, 255), 31, 1, 1)), header(31, 3));
}

TEST(RunCoding, whollyOpaqueSourcesHaveNoAlpha) {
    const CPixelBytes pixels{1, 2, 3, 0, 1, 2, 3, 9};
    const CByteBuffer block = encodeRuns(pixels.data(), 2, 1, 8, 4, true);
    EXPECT_EQ(runsOf(block), (header(2, 3) + CPixelBytes{1, 2, 3, 255}));
}

TEST(RunCoding, whatIsEncodedPassesTheCheck) {
    for (unsigned seed = 1; seed <= 300; seed++) {
        CNoise noise(seed);
        const int bytesPerPixel = kPixelKinds[seed % 3];
        const int width = noise.number(0, 120);
        const int height = noise.number(0, 6);
        const CByteBuffer block =
            encode(noise.image(width, height, bytesPerPixel), width, height, bytesPerPixel);
        EXPECT_TRUE(checkRuns(block.data(), block.size(), width, height, bytesPerPixel)) << seed;
        EXPECT_FALSE(checkRuns(block.data(), block.size(), width, height + 1, bytesPerPixel));
        const bool hasRuns = height > 0 && offsetOf(block, 0) != 0;
        EXPECT_EQ(checkRuns(block.data(), block.size(), width + 1, height, bytesPerPixel) &&
                      hasRuns,
                  false);
    }
}

// A damaged block is refused, or it draws without touching a byte outside: the copies lie in exact
// heap blocks, which the address sanitizer watches.
TEST(RunCoding, damagedBlocksAreRefusedOrDrawnInside) {
    int refused = 0;
    for (unsigned seed = 1; seed <= 4000; seed++) {
        CNoise noise(seed);
        const int bytesPerPixel = kPixelKinds[seed % 3];
        const int width = noise.number(1, 60);
        const int height = noise.number(1, 4);
        const CByteBuffer block =
            encode(noise.image(width, height, bytesPerPixel), width, height, bytesPerPixel);
        std::vector<uint8_t> bytes(block.data(), block.data() + block.size());
        if (seed % 4 == 0)
            bytes.resize(static_cast<size_t>(noise.number(0, static_cast<int>(bytes.size()))));
        for (int i = noise.number(0, 2); i > 0 && !bytes.empty(); i--)
            bytes[static_cast<size_t>(noise.number(0, static_cast<int>(bytes.size()) - 1))] =
                static_cast<uint8_t>(noise.number(0, 255));
        bytes.shrink_to_fit();
        CImageLayerData data;
        data.width = width;
        data.height = height;
        data.bytesPerPixel = bytesPerPixel;
        data.setRunsInPlace(bytes.data(), bytes.size());
        if (!checkRuns(bytes.data(), bytes.size(), width, height, bytesPerPixel)) {
            refused++;
            continue;
        }
        CLinearBitmap bitmap;
        ASSERT_FALSE(bitmap.setSize(width, height, true));
        bitmap.drawImage(CImagePlacement::place(data, 1.0, {}, 1.0), 0, 0, bitmap.bounds());
    }
    EXPECT_GT(refused, 500);
}
