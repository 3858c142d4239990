#include "Audio/Filters/CSplineTable.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kUnset = 1e30;     // marks a grid position without a value
constexpr double kUnsetFrom = 1e29; // what is above this is unset

constexpr double kFar = 1e9; // beyond any grid; keeps points of no finite place out of it

/// To the nearest, halves away from zero.
int roundToInt(double value) {
    if (!(std::abs(value) < kFar)) return static_cast<int>(value < 0.0 ? -kFar : kFar);
    return static_cast<int>(value < 0.0 ? value - 0.5 : value + 0.5);
}

} // namespace

CSplineTable::CSplineTable(CSampleBlockPool& pool, int entryCount, double pointDensity, Shape shape)
    : count(entryCount), density(pointDensity), weights(pool.take(4 * entryCount)) {
    double* w = weights.samples();
    for (int i = 0; i < count; i++, w += 4) {
        const double t = static_cast<double>(i + 1) / count;
        const double t2 = t * t, t3 = t2 * t;
        const bool isCubic = shape == Shape::Cubic;
        w[0] = isCubic ? -0.5 * t3 + t2 - 0.5 * t : 0.0;
        w[1] = isCubic ? 1.5 * t3 - 2.5 * t2 + 1.0 : 1.0 - t;
        w[2] = isCubic ? -1.5 * t3 + 2.0 * t2 + 0.5 * t : t;
        w[3] = isCubic ? 0.5 * t3 - 0.5 * t2 : 0.0;
    }
}

void CSplineTable::draw(const double* x, const double* y, int n, double* out, int resolution,
                        double fill, int decimation) const {
    if (n < 2) {
        std::fill(out, out + (resolution - 1) / decimation + 1, n == 1 ? y[0] : 0.0);
        return;
    }
    std::fill(out, out + resolution, kUnset);
    const CGrid grid{out, resolution};
    CPoint pen{x[0], y[0]};
    for (int i = 0; i + 1 < n; i++) {
        const int before = std::max(i - 1, 0), after = std::min(i + 2, n - 1);
        const CPoint points[4] = {
            {x[before], y[before]}, {x[i], y[i]}, {x[i + 1], y[i + 1]}, {x[after], y[after]}};
        const double steps = stepsOfSegment(points[1], points[2], resolution);
        for (int s = 1; s <= static_cast<int>(steps); s++) {
            const CPoint next = pointAt(points, roundToInt(s * (count / steps)));
            drawLine(grid, pen, next);
            pen = next;
        }
    }
    setOnce(grid, roundToInt(x[n - 1] * (resolution - 1)), y[n - 1]);
    for (int i = 0; i < resolution; i++)
        if (out[i] > kUnsetFrom) out[i] = fill;
    if (decimation >= 2) decimate(out, resolution, decimation);
}

/// How many lines a segment is drawn with: 1 to `count`, by its length in the plane of x and y.
double CSplineTable::stepsOfSegment(const CPoint& a, const CPoint& b, int resolution) const {
    const double length = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
    const double steps = std::round(length * resolution * density);
    if (!(steps >= 2.0)) return 1.0;
    return std::min(steps, static_cast<double>(count));
}

/// position: 1 to count.
CSplineTable::CPoint CSplineTable::pointAt(const CPoint (&points)[4], int position) const {
    const double* w = weights.samples() + 4 * (std::clamp(position, 1, count) - 1);
    CPoint result{0.0, 0.0};
    for (int k = 0; k < 4; k++) {
        result.x += w[k] * points[k].x;
        result.y += w[k] * points[k].y;
    }
    return result;
}

/// Sets the unset positions from the rounded start up to, but without, the rounded end.
void CSplineTable::drawLine(const CGrid& grid, CPoint from, CPoint to) {
    double start = from.x * (grid.size - 1), end = to.x * (grid.size - 1);
    int first = roundToInt(start), last = roundToInt(end);
    if (first == last) return setOnce(grid, first, to.y);
    if (first > last) {
        std::swap(first, last);
        std::swap(start, end);
        std::swap(from.y, to.y);
    }
    if (first >= grid.size || last < 1) return;
    const double slope = (to.y - from.y) / (end - start);
    double value = from.y - (start - first) * slope;
    if (first < 0) {
        value -= first * slope;
        first = 0;
    }
    for (int i = first; i < std::min(last, grid.size); i++, value += slope)
        if (grid.values[i] > kUnsetFrom) grid.values[i] = value;
}

void CSplineTable::setOnce(const CGrid& grid, int position, double value) {
    if (position >= 0 && position < grid.size && grid.values[position] > kUnsetFrom)
        grid.values[position] = value;
}

/// Means of `decimation` neighbours; at both ends half a mean, filled up with the end value.
void CSplineTable::decimate(double* out, int resolution, int decimation) {
    const int result = (resolution - 1) / decimation + 1;
    const int half = (decimation + 1) / 2;
    auto sum = [out](int from, int terms) {
        double total = 0.0;
        for (int i = from; i < from + terms; i++) total += out[i];
        return total;
    };
    // The last value is taken first: in short grids the means overwrite what it is made of.
    const double last =
        (out[resolution - 1] * (decimation - half) + sum(resolution - half, half)) / decimation;
    out[0] = (out[0] * (decimation - half) + sum(0, half)) / decimation;
    for (int k = 1; k + 1 < result; k++)
        out[k] = sum(half + (k - 1) * decimation, decimation) / decimation;
    if (result > 1) out[result - 1] = last;
}

} // namespace lum
