#include "Other/CCurveStroke.h"
#include "Other/PixelFixture.h"

#include <algorithm>
#include <cmath>
#include <thread>

using namespace lum;

namespace {

/// Black ground, white strokes.
class Stroke : public testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(bitmap.setSize(64, 48, true)); }
    ~Stroke() override { selectPixelCode(nullptr); }
    int at(int x, int y) const { return bitmap.row(y)[x * 4]; }
    bool isBlack() const {
        const CPixelBytes bytes = bytesOf(bitmap);
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
    }
    void draw(const std::vector<CCurvePoint>& points, const CPixelRect& clip,
              bool isSortedByX = false) {
        bitmap.drawCurve(points.data(), static_cast<int>(points.size()), stroke, clip, isSortedByX);
    }
    void draw(const std::vector<CCurvePoint>& points) { draw(points, bitmap.bounds()); }

    CStrokeBrush brush{2.0};
    CCurveStroke stroke{{1.0, nullptr}, 255, 1.0, &brush};
    CLinearBitmap bitmap;
};

double sumOfColumn(const CLinearBitmap& bitmap, int x) {
    double sum = 0.0;
    for (int y = 0; y < bitmap.getHeight(); y++) sum += bitmap.row(y)[x * 4];
    return sum / 255.0;
}

} // namespace

TEST_F(Stroke, whatHasTooLittleDrawsNothing) {
    draw({});
    draw({{5, 5}});
    stroke.brush = nullptr;
    draw({{5, 5}, {20, 20}});
    stroke.brush = &brush;
    stroke.opacity = 0.0;
    draw({{5, 5}, {20, 20}});
    stroke.opacity = 1.0;
    draw({{5, 5}, {20, 20}}, {40, 0, 64, 48});
    draw({{NAN, 5}, {20, INFINITY}});
    draw({{-500, -500}, {-400, -300}});
    EXPECT_TRUE(isBlack());
}

// A level line covers its width in each column wherever it lies within the pixels. Tolerance: a
// grid of eighths, and the notches between the stamps' discs.
TEST_F(Stroke, aLevelLineIsAsWideAsItsBrush) {
    for (const double diameter : {1.0, 1.8, 2.5, 5.0})
        for (double y = 20.0; y < 21.0; y += 0.11) {
            brush.setDiameter(diameter);
            ASSERT_FALSE(bitmap.setSize(0, 0, true));
            ASSERT_FALSE(bitmap.setSize(64, 48, true));
            draw({{5.0, y}, {60.0, y}});
            EXPECT_NEAR(sumOfColumn(bitmap, 30), diameter, 0.13 * diameter + 0.04) << y;
            EXPECT_EQ(sumOfColumn(bitmap, 1), 0.0);
        }
}

TEST_F(Stroke, aFullyCoveredPixelTakesTheWeightOf255) {
    brush.setDiameter(6.0);
    draw({{10.0, 20.0}, {50.0, 20.0}});
    EXPECT_EQ(at(30, 20), 255 * (255 * 128) >> 15);
    stroke.opacity = 0.5;
    ASSERT_FALSE(bitmap.setSize(63, 48, true));
    draw({{10.0, 20.0}, {50.0, 20.0}});
    EXPECT_EQ(at(30, 20), 255 * (255 * 64) >> 15);
}

// Every clip shows the cut of the whole, sorted or not, and each set of code gives the same.
TEST_F(Stroke, everyClipIsTheCutOfTheWhole) {
    for (unsigned seed = 1; seed <= 150; seed++) {
        CNoise noise(seed);
        brush.setDiameter(noise.real(0.5, 13.0));
        std::vector<CCurvePoint> points;
        for (int i = noise.number(2, 30); i > 0; i--)
            points.push_back({noise.real(-90, 150), noise.real(-90, 130)});
        const bool isSorted = seed % 2 == 0;
        if (isSorted)
            std::sort(points.begin(), points.end(),
                      [](const CCurvePoint& a, const CCurvePoint& b) { return a.x < b.x; });
        CLinearBitmap before, whole;
        fillWithNoise(before, 64, 48, noise);
        const auto drawOn = [&](CLinearBitmap& target, const CPixelRect& clip, bool asSorted) {
            ASSERT_FALSE(target.copyFrom(before));
            target.drawCurve(points.data(), static_cast<int>(points.size()), stroke, clip,
                             asSorted);
        };
        selectPixelCode(&plainPixelCode());
        drawOn(whole, before.bounds(), false);
        selectPixelCode(nullptr);
        const CPixelRect clip{noise.number(-5, 60), noise.number(-5, 40), noise.number(3, 70),
                              noise.number(3, 60)};
        drawOn(bitmap, clip, isSorted);
        const CPixelRect inside = clip.intersected(before.bounds());
        for (int y = 0; y < 48; y++)
            for (int x = 0; x < 64; x++) {
                const bool isIn =
                    x >= inside.left && x < inside.right && y >= inside.top && y < inside.bottom;
                const uint8_t* expected = (isIn ? whole : before).row(y) + x * 4;
                ASSERT_TRUE(std::equal(expected, expected + 4, bitmap.row(y) + x * 4))
                    << "seed " << seed << " at " << x << ", " << y;
            }
    }
}

TEST_F(Stroke, aCurveLeavesNothingBehindForTheNext) {
    draw({{0, 0}, {64, 48}});
    const CPixelBytes once = bytesOf(bitmap);
    ASSERT_FALSE(bitmap.setSize(64, 47, true));
    ASSERT_FALSE(bitmap.setSize(64, 48, true));
    stroke.opacity = 0.004; // rounds to half a step: the mask is filled, little is drawn
    draw({{64, 0}, {0, 48}});
    bitmap.fillRect(bitmap.bounds(), {1.0, nullptr}, 255, 1.0);
    bitmap.xorRect(bitmap.bounds(), 255, 255, 255, 255);
    stroke.opacity = 1.0;
    draw({{0, 0}, {64, 48}});
    EXPECT_EQ(bytesOf(bitmap), once);
}

TEST_F(Stroke, severalThreadsDrawIntoPartsOfOneBitmap) {
    const std::vector<CCurvePoint> points{{0, 0}, {64, 48}, {0, 40}, {64, 3}};
    CLinearBitmap whole;
    ASSERT_FALSE(whole.setSize(64, 48, true));
    whole.drawCurve(points.data(), 4, stroke, whole.bounds(), false);
    std::vector<std::thread> workers;
    for (int part = 0; part < 4; part++)
        workers.emplace_back([&, part] { draw(points, {0, part * 12, 64, part * 12 + 12}); });
    for (std::thread& worker : workers) worker.join();
    EXPECT_EQ(bytesOf(bitmap), bytesOf(whole));
}
