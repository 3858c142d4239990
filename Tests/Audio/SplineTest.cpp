#include "Audio/Filters/CSplineTable.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using namespace lum;

namespace {

constexpr int kPrecision = 256;
constexpr int kResolution = 5 * kPrecision - 4;

std::vector<double> draw(const std::vector<double>& x, const std::vector<double>& y,
                         int resolution = kResolution, int decimation = 5, double fill = 0.0) {
    CSampleBlockPool pool;
    const CSplineTable table(pool, kPrecision, 0.5, CSplineTable::Shape::Cubic);
    std::vector<double> out(static_cast<size_t>(resolution));
    table.draw(x.data(), y.data(), static_cast<int>(x.size()), out.data(), resolution, fill,
               decimation);
    out.resize(static_cast<size_t>((resolution - 1) / decimation + 1));
    return out;
}

std::vector<double> even(size_t count) {
    std::vector<double> x(count);
    for (size_t i = 0; i < count; i++)
        x[i] = static_cast<double>(i) / static_cast<double>(count - 1);
    return x;
}

} // namespace

TEST(SplineTest, noPointsGiveZeroAndOnePointGivesItsValue) {
    EXPECT_EQ(draw({}, {}), std::vector<double>(kPrecision, 0.0));
    EXPECT_EQ(draw({0.3}, {4.5}), std::vector<double>(kPrecision, 4.5));
}

// Catmull-Rom keeps straight lines, also in the outer segments, where x bends in the same way as y.
// A short step sets its grid position to the value at the step's own end, so a value may stand for
// a place up to half a position away.
TEST(SplineTest, aStraightLineStaysStraightToTheEnds) {
    std::vector<double> y(16);
    for (size_t i = 0; i < 16; i++) y[i] = 0.8 * static_cast<double>(i) - 3.0;
    const std::vector<double> curve = draw(even(16), y);
    const double halfPosition = 0.5 * 12.0 / (kResolution - 1);
    for (size_t k = 1; k + 1 < curve.size(); k++) {
        const double x = static_cast<double>(k) / (kPrecision - 1);
        EXPECT_NEAR(curve[k], 12.0 * x - 3.0, halfPosition) << k;
    }
    // The ends are means of three grid values and twice the end itself; the steps between grid
    // values are 12 / 1275, so the means lie 0.6 steps inside.
    EXPECT_NEAR(curve.front(), -3.0 + 0.6 * 12.0 / 1275.0, halfPosition);
    EXPECT_NEAR(curve.back(), 9.0 - 0.6 * 12.0 / 1275.0, halfPosition);
}

// One of 16 points raised by 6 dB. By hand, with u = 15 x - 7 on the segment from the neighbour
// (u = 0) to the point (u = 1): y = 6 * w2(u) = 6 * (-1.5 u^3 + 2 u^2 + 0.5 u), as x runs linearly
// there; one segment further out y = 6 * w3(u) = 6 * (0.5 u^3 - 0.5 u^2).
TEST(SplineTest, aRaisedPointDrawsTheCubicThroughItAndItsNeighbours) {
    std::vector<double> y(16, 0.0);
    y[8] = 6.0;
    const std::vector<double> curve = draw(even(16), y);
    for (int k = 1; k < kPrecision - 1; k++) {
        const double at = 15.0 * k / (kPrecision - 1);
        const double u = at - std::floor(at), v = 1.0 - u;
        double want = 0.0;
        if (at >= 7 && at < 8) want = 6.0 * (-1.5 * u * u * u + 2.0 * u * u + 0.5 * u);
        if (at >= 8 && at < 9) want = 6.0 * (-1.5 * v * v * v + 2.0 * v * v + 0.5 * v);
        if (at >= 6 && at < 7) want = 6.0 * (0.5 * u * u * u - 0.5 * u * u);
        if (at >= 9 && at < 10) want = 6.0 * (0.5 * v * v * v - 0.5 * v * v);
        // Straight lines between drawn points and means over five grid values round the peak off.
        EXPECT_NEAR(curve[static_cast<size_t>(k)], want, 0.03) << k;
    }
    EXPECT_NEAR(curve[136], 6.0, 0.02); // 255 * 8 / 15
    EXPECT_NEAR(curve[119], 0.0, 0.02);
    EXPECT_EQ(curve[20], 0.0);
}

// Two segments, the second running back over the first: the positions it meets again keep their
// value.
TEST(SplineTest, theFirstWriterOfAPositionWins) {
    const std::vector<double> curve = draw({0.0, 0.8, 0.4}, {1.0, 1.0, 9.0}, 101, 1, -1.0);
    for (size_t i = 0; i < 70; i++)
        EXPECT_NEAR(curve[i], 1.0, 0.7) << i; // the bend before the turn
    EXPECT_EQ(curve[100], -1.0) << "never met";
}

// Steep curves go over the full table; both ways of stepping meet the points.
TEST(SplineTest, longAndShortSegmentsInterpolate) {
    for (double height : {0.001, 0.1, 1.0, 60.0}) {
        const std::vector<double> curve = draw({0.0, 0.5, 1.0}, {0.0, height, 0.0}, 1001, 1);
        EXPECT_NEAR(curve[500], height, height * 0.005) << height;
        EXPECT_NEAR(curve[1000], 0.0, height * 0.005) << height;
    }
}

// Flat enough that every segment is one line from point to point. Thinned by 5, by hand: ends
// (2 * 0 + 0 + 1 + 2) / 5 and (2 * 15 + 13 + 14 + 15) / 5 hundredths, between them the means of
// 3..7 and 8..12.
TEST(SplineTest, thinningTakesMeansOfNeighbours) {
    std::vector<double> y(16);
    for (size_t i = 0; i < 16; i++) y[i] = 0.01 * static_cast<double>(i);
    const std::vector<double> curve = draw(even(16), y, 16);
    ASSERT_EQ(curve.size(), 4u);
    const double want[] = {0.006, 0.05, 0.1, 0.144};
    for (size_t i = 0; i < 4; i++) EXPECT_NEAR(curve[i], want[i], 1e-15);
}
