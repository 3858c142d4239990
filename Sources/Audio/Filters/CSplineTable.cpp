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
    return static_cast<int>(value + std::copysign(0.5, value));
}

struct CPoint {
    double x;
    double y;
};
struct CGrid {
    double* values;
    int size;
};
struct CPen {
    double place; // in grid positions
    int index;    // the nearest one
    double y;
};

/// How many lines a segment is drawn with: 1 to `count`, by its length in the plane of x and y.
int stepsOfSegment(const CPoint& a, const CPoint& b, int resolution, double density, int count) {
    const double length = std::sqrt((b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y));
    const double steps = std::round(length * resolution * density);
    if (!(steps >= 2.0)) return 1;
    return static_cast<int>(std::min(steps, static_cast<double>(count)));
}

CPen penAt(double place, double y) {
    return {place, roundToInt(place), y};
}

void setOnce(const CGrid& grid, int position, double value) {
    if (position >= 0 && position < grid.size && grid.values[position] > kUnsetFrom)
        grid.values[position] = value;
}

/// Sets the unset positions from the rounded start up to, but without, the rounded end.
void drawLine(const CGrid& grid, const CPen& from, const CPen& to) {
    int first = from.index;
    const int last = std::min(to.index, grid.size);
    if (first >= grid.size || last < 1) return;
    const double slope = (to.y - from.y) / (to.place - from.place);
    double value = from.y - (from.place - first) * slope;
    if (first < 0) {
        value -= first * slope;
        first = 0;
    }
    for (int i = first; i < last; i++, value += slope)
        if (grid.values[i] > kUnsetFrom) grid.values[i] = value;
}

/// Means of `decimation` neighbours; at both ends half a mean, filled up with the end value.
void decimate(double* out, int resolution, int decimation) {
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

} // namespace

CSplineTable::CSplineTable(CSampleBlockPool& pool, int entryCount, double pointDensity, Shape shape)
    : count(entryCount),
      density(pointDensity),
      weights(pool.take(4 * entryCount)),
      segment(pool.take(2 * entryCount)) {
    double* w = weights.samples();
    for (int i = 0; i < count; i++) {
        const double t = static_cast<double>(i + 1) / count;
        const double t2 = t * t, t3 = t2 * t;
        const bool isCubic = shape == Shape::Cubic;
        w[i] = isCubic ? -0.5 * t3 + t2 - 0.5 * t : 0.0;
        w[i + count] = isCubic ? 1.5 * t3 - 2.5 * t2 + 1.0 : 1.0 - t;
        w[i + 2 * count] = isCubic ? -1.5 * t3 + 2.0 * t2 + 0.5 * t : t;
        w[i + 3 * count] = isCubic ? 0.5 * t3 - 0.5 * t2 : 0.0;
    }
}

/// One coordinate at `steps` equally spaced positions of a segment, times `factor`. A long segment
/// takes every entry of the table, in a loop that becomes vector code.
void CSplineTable::fillSegment(const double (&p)[4], int steps, double factor, double* out) const {
    const double* const w = weights.samples();
    auto at = [&](int i) {
        const double value =
            w[i] * p[0] + w[i + count] * p[1] + w[i + 2 * count] * p[2] + w[i + 3 * count] * p[3];
        return value * factor;
    };
    const double stride = count / static_cast<double>(steps);
    if (steps == count)
        for (int i = 0; i < steps; i++) out[i] = at(i);
    else
        for (int s = 1; s <= steps; s++)
            out[s - 1] = at(std::clamp(roundToInt(s * stride), 1, count) - 1);
}

void CSplineTable::draw(const double* x, const double* y, int n, double* out, int resolution,
                        double fill, int decimation) const {
    if (n < 2) {
        std::fill(out, out + (resolution - 1) / decimation + 1, n == 1 ? y[0] : 0.0);
        return;
    }
    std::fill(out, out + resolution, kUnset);
    const CGrid grid{out, resolution};
    double* const places = segment.samples();
    double* const values = places + count;
    CPen pen = penAt(x[0] * (resolution - 1), y[0]);
    for (int i = 0; i + 1 < n; i++) {
        const int at[4] = {std::max(i - 1, 0), i, i + 1, std::min(i + 2, n - 1)};
        const int steps =
            stepsOfSegment({x[i], y[i]}, {x[i + 1], y[i + 1]}, resolution, density, count);
        fillSegment({x[at[0]], x[at[1]], x[at[2]], x[at[3]]}, steps, resolution - 1, places);
        fillSegment({y[at[0]], y[at[1]], y[at[2]], y[at[3]]}, steps, 1.0, values);
        for (int s = 0; s < steps; s++) {
            const CPen next = penAt(places[s], values[s]);
            if (pen.index == next.index)
                setOnce(grid, next.index, next.y);
            else if (pen.index < next.index)
                drawLine(grid, pen, next);
            else
                drawLine(grid, next, pen);
            pen = next;
        }
    }
    setOnce(grid, roundToInt(x[n - 1] * (resolution - 1)), y[n - 1]);
    for (int i = 0; i < resolution; i++)
        if (out[i] > kUnsetFrom) out[i] = fill;
    if (decimation >= 2) decimate(out, resolution, decimation);
}

} // namespace lum
