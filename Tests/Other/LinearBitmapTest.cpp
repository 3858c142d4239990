#include "Other/PixelFixture.h"

#include "Other/CLinearBitmapDC.h"
#include "Platform/CpuFeatures.h"

#include <algorithm>
#include <cmath>
#include <sys/resource.h>

using namespace lum;

namespace {

/// What one pixel of an image becomes: the blend formulas, one at a time, on plain integers.
void blendReference(uint8_t* d, const uint8_t* source, int bytesPerPixel,
                    const CPaletteTable& table, int opacity) {
    const bool isPartial = opacity < kOpacitySolid;
    const int alpha = source[bytesPerPixel - 1];
    const uint8_t* color = bytesPerPixel == 1   ? table.entries[255]
                           : bytesPerPixel == 2 ? table.entries[source[0]]
                                                : source;
    if (alpha <= 3) return;
    for (int c = 0; c < 4; c++) {
        const int s = c == 3 ? 255 : color[c];
        const bool isKept = c == 3 && bytesPerPixel != 4;
        int value = s;
        if (alpha >= 254)
            value = isPartial ? d[c] + ((s - d[c]) * opacity >> 15) : s;
        else if (bytesPerPixel == 1)
            value = isKept      ? d[c]
                    : isPartial ? d[c] + ((s - d[c]) * alpha * opacity >> 23)
                                : d[c] + ((s - d[c]) * alpha >> 8);
        else if (isPartial)
            value = d[c] + ((s - d[c]) * ((opacity >> 8) * alpha) >> 15);
        else if (bytesPerPixel == 2)
            value = isKept ? d[c] : d[c] + ((s - d[c]) * alpha >> 8);
        else
            value = d[c] + ((s - d[c]) * (alpha * 128) >> 15);
        d[c] = static_cast<uint8_t>(std::clamp(value, 0, 255));
    }
}

/// Draws with each set of code in turn.
class LinearBitmap : public testing::Test {
protected:
    ~LinearBitmap() override { selectPixelCode(nullptr); }
    static std::vector<const CPixelCode*> codes() {
        std::vector<const CPixelCode*> all{&plainPixelCode()};
        if (platform::cpuLevel() >= platform::CpuLevel::Avx2) all.push_back(&avx2PixelCode());
        return all;
    }
    static constexpr double kOpacities[] = {1.0, 0.9962, 0.99, 0.5, 0.013, 0.0051};
};

} // namespace

// Random images, clips, places and opacities against the formulas, with each set of code.
TEST_F(LinearBitmap, everyClipOfAnImageIsTheCutOfTheWhole) {
    for (unsigned seed = 1; seed <= 600; seed++) {
        CNoise noise(seed);
        const CPaletteTable table = noisyTable(noise);
        const int bytesPerPixel = kPixelKinds[noise.number(0, 2)];
        const int width = noise.number(1, 80);
        const int height = noise.number(1, 6);
        const CPixelBytes pixels = noise.image(width, height, bytesPerPixel);
        CImageLayerData data;
        data.width = width;
        data.height = height;
        data.offsetX = noise.number(-9, 9);
        data.offsetY = noise.number(-3, 3);
        data.bytesPerPixel = bytesPerPixel;
        data.setRuns(
            encodeRuns(pixels.data(), width, height, width * bytesPerPixel, bytesPerPixel));
        if (noise.number(0, 1)) data.keepAlpha(pixels.data(), width); // of small alpha images
        const CImagePlacement placement = CImagePlacement::place(
            data, 1.0, {1.0, &table}, kOpacities[noise.number(0, std::size(kOpacities) - 1)]);

        CLinearBitmap before;
        fillWithNoise(before, noise.number(1, 90), noise.number(1, 9), noise);
        const int x = noise.number(-40, 60);
        const int y = noise.number(-4, 6);
        const CPixelRect clip{noise.number(-5, 50), noise.number(-2, 5), noise.number(10, 99),
                              noise.number(2, 12)};
        CPixelBytes expected = bytesOf(before);
        for (int row = 0; row < height; row++)
            for (int column = 0; column < width; column++) {
                const int tx = x + data.offsetX + column;
                const int ty = y + data.offsetY + row;
                const CPixelRect pixel{tx, ty, tx + 1, ty + 1};
                if (pixel.intersected(clip).intersected(before.bounds()).empty()) continue;
                blendReference(expected.data() + ty * before.getStride() + tx * 4,
                               pixels.data() + (row * width + column) * bytesPerPixel,
                               bytesPerPixel, table, placement.fixedOpacity);
            }
        for (const CPixelCode* code : codes()) {
            selectPixelCode(code);
            CLinearBitmap bitmap;
            ASSERT_FALSE(bitmap.copyFrom(before));
            bitmap.drawImage(placement, x, y, clip);
            ASSERT_EQ(bytesOf(bitmap), expected) << code->name << " seed " << seed;
        }
    }
}

TEST_F(LinearBitmap, wideRowsEqualPlainRowsAtAnyLengthAndAlignment) {
    for (const CPixelCode* code : codes()) {
        CNoise noise(7);
        for (int count = 0; count < 70; count++)
            for (int start = 0; start < 9; start++) {
                const CPixelBytes source = noise.bytes(count * 4 + 4);
                const CPixelBytes before = noise.bytes((count + start + 1) * 4);
                const int weight = noise.number(0, 32640);
                const uint32_t color =
                    static_cast<uint32_t>(noise.number(0, 0xFFFFFF)) | 0xFF000000;
                const auto run = [&](const CPixelCode& used, int which) {
                    CPixelBytes out = before;
                    uint8_t* target = out.data() + start * 4;
                    if (which == 0) used.fill(target, count, color);
                    if (which == 1) used.blendColor(target, count, color, weight);
                    if (which == 2) used.blendPixels(target, source.data(), count, weight);
                    if (which == 3)
                        used.blendMask(target, source.data(), count, color, weight % 129);
                    return out;
                };
                for (int which = 0; which < 4; which++)
                    ASSERT_EQ(run(*code, which), run(plainPixelCode(), which))
                        << code->name << " loop " << which << " count " << count;
            }
    }
}

TEST_F(LinearBitmap, opacityThresholds) {
    struct {
        double opacity;
        int expected; // of a white fill on 100
    } const rows[] = {{0.0, 100}, {-1.0, 100}, {0.0039, 100}, {0.00394, 100},
                      {0.1, 115}, {0.5, 177},  {0.996, 254},  {0.9962, 255},
                      {1.0, 255}, {9.0, 255},  {NAN, 100}};
    for (const auto& row : rows) {
        CLinearBitmap bitmap;
        ASSERT_FALSE(bitmap.setSize(1, 1, false));
        std::fill_n(bitmap.row(0), 4, uint8_t{100});
        bitmap.fillRect({0, 0, 1, 1}, {1.0, nullptr}, 3, row.opacity);
        EXPECT_EQ(bitmap.row(0)[0], row.expected) << row.opacity;
    }
}

TEST_F(LinearBitmap, aFillTakesThePaletteEntryAndStaysInside) {
    CNoise noise(3);
    const CPaletteTable table = noisyTable(noise);
    const CDrawColor color{1.0, &table};
    CLinearBitmap bitmap;
    ASSERT_FALSE(bitmap.setSize(4, 3, true));
    bitmap.fillRect({-5, 1, 3, 99}, color, 17, 1.0);
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 4; x++) {
            const uint8_t* pixel = bitmap.row(y) + x * 4;
            const bool isIn = x < 3 && y >= 1;
            for (int c = 0; c < 3; c++) EXPECT_EQ(pixel[c], isIn ? table.entries[17][c] : 0);
            EXPECT_EQ(pixel[3], isIn ? 255 : 0);
        }
    for (const int index : {-1, 256}) {
        bitmap.fillRect(bitmap.bounds(), color, index, 1.0);
        EXPECT_EQ(bytesOf(bitmap), CPixelBytes(48, 255));
    }
}

TEST_F(LinearBitmap, linesHaveInclusiveEndsAndClip) {
    CLinearBitmap bitmap;
    ASSERT_FALSE(bitmap.setSize(6, 5, true));
    bitmap.hLine(-3, 2, 1, 10, 20, 30, 32768);
    bitmap.vLine(3, 99, 5, 10, 20, 30, 32768);
    bitmap.hLine(0, 5, 7, 1, 1, 1, 32768);
    bitmap.vLine(0, 4, -1, 1, 1, 1, 32768);
    bitmap.hLine(4, 3, 0, 1, 1, 1, 32768);
    std::string picture;
    for (int y = 0; y < 5; y++, picture += '\n')
        for (int x = 0; x < 6; x++) picture += bitmap.row(y)[x * 4 + 2] == 10 ? '#' : '.';
    EXPECT_EQ(picture, "......\n###...\n......\n.....#\n.....#\n");
}

TEST_F(LinearBitmap, copiesClipOnAllSidesAlsoWithinOneBitmap) {
    for (unsigned seed = 1; seed <= 200; seed++) {
        CNoise noise(seed);
        CLinearBitmap source, other;
        fillWithNoise(source, noise.number(1, 12), noise.number(1, 12), noise);
        fillWithNoise(other, noise.number(1, 12), noise.number(1, 12), noise);
        const bool isSame = seed % 2 == 0;
        CLinearBitmap& target = isSame ? source : other;
        const CPixelRect rect{noise.number(-3, 8), noise.number(-3, 8), noise.number(4, 15),
                              noise.number(4, 15)};
        const int tx = noise.number(-6, 12);
        const int ty = noise.number(-6, 12);
        const CPixelBytes from = bytesOf(source);
        CPixelBytes expected = bytesOf(target);
        for (int y = rect.top; y < rect.bottom; y++)
            for (int x = rect.left; x < rect.right; x++) {
                const int px = x - rect.left + tx;
                const int py = y - rect.top + ty;
                if (x < 0 || y < 0 || x >= source.getWidth() || y >= source.getHeight() || px < 0 ||
                    py < 0 || px >= target.getWidth() || py >= target.getHeight())
                    continue;
                std::copy_n(from.data() + y * source.getStride() + x * 4, 4,
                            expected.data() + py * target.getStride() + px * 4);
            }
        source.copyRectTo(target, tx, ty, rect);
        ASSERT_EQ(bytesOf(target), expected) << "seed " << seed;
    }
}

TEST_F(LinearBitmap, blendingAndXorUndoOrKeepWhatTheyShould) {
    CNoise noise(5);
    CLinearBitmap a, b, c;
    fillWithNoise(a, 9, 7, noise);
    fillWithNoise(b, 9, 7, noise);
    fillWithNoise(c, 9, 6, noise);
    const CPixelBytes before = bytesOf(a);
    a.blendFrom(c, 1.0, a.bounds()); // another size
    a.xorRect({-1, 2, 5, 99}, 1, 2, 3, 4);
    EXPECT_NE(bytesOf(a), before);
    a.xorRect({-1, 2, 5, 99}, 1, 2, 3, 4);
    EXPECT_EQ(bytesOf(a), before);
    a.blendFrom(b, 0.25, {0, 0, 4, 99});
    for (int y = 0; y < 7; y++)
        for (int i = 0; i < 36; i++) {
            const int d = before[static_cast<size_t>(y * 36 + i)];
            EXPECT_EQ(a.row(y)[i], i >= 16 ? d : d + ((b.row(y)[i] - d) * 8192 >> 15));
        }
    a.blendFrom(b, 1.0, a.bounds());
    EXPECT_EQ(bytesOf(a), bytesOf(b));
}

TEST_F(LinearBitmap, sizesThatHoldNothingLeaveItEmpty) {
    CLinearBitmap bitmap;
    ASSERT_FALSE(bitmap.setSize(3, 3, true));
    ASSERT_FALSE(bitmap.setSize(0, 5, true));
    EXPECT_EQ(bitmap.getStride() + bitmap.getWidth() + bitmap.getHeight(), 0);
    EXPECT_TRUE(bitmap.setSize(40000, 5, true));
    bitmap.fillRect({0, 0, 9, 9}, {}, 1, 1.0);
    bitmap.hLine(0, 9, 0, 1, 1, 1, 32768);
    bitmap.vLine(0, 9, 0, 1, 1, 1, 32768);
}

TEST_F(LinearBitmap, aSurfaceIsDrawnOnLikeMemoryAndEmptyWhereTheSystemGivesNone) {
    CNoise noise(3);
    CLinearBitmap source;
    fillWithNoise(source, 31, 17, noise);
    CLinearBitmapDC shown;
    ASSERT_FALSE(shown.copyFrom(source));
    shown.flushToDevice();
    EXPECT_EQ(bytesOf(shown), bytesOf(source));
    EXPECT_EQ(shown.row(0), shown.getSurface().pixels());
    ASSERT_FALSE(shown.setSize(5, 3, true));
    EXPECT_EQ(bytesOf(shown), CPixelBytes(5 * 3 * 4, 0));

    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const CErrorResult error = shown.setSize(6, 3, true);
    setrlimit(RLIMIT_NOFILE, &before);
    ASSERT_TRUE(error);
    EXPECT_EQ(error.line(0).toUtf8(), "Error 24 while creating a surface of 6 x 3 pixels.");
    EXPECT_TRUE(shown.bounds().empty());
    EXPECT_FALSE(shown.row(0));
}
