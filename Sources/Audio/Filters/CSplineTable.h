#pragma once

#include "Audio/CSampleBlock.h"

namespace lum {

/// Weights of a curve between control points, at `count` positions of a segment, and the drawing of
/// such a curve into a grid. One per generation; all memory comes from the block pool. Any one
/// thread, usually the audio thread.
class CSplineTable {
public:
    enum class Shape { Linear, Cubic }; // Cubic: Catmull-Rom

    CSplineTable(CSampleBlockPool& pool, int count, double density, Shape shape);

    /// Draws the curve through n points (x in 0..1, ascending or doubling back; y in any unit, the
    /// product's is dB) into `out` [resolution] and thins it out by `decimation`: the result is
    /// out[0 .. (resolution - 1) / decimation]. Grid positions that the curve never meets get
    /// `fill`; where it doubles back, its earlier value stays.
    void draw(const double* x, const double* y, int n, double* out, int resolution, double fill,
              int decimation) const LUM_REALTIME;

private:
    void fillSegment(const double (&points)[4], int steps, double factor,
                     double* out) const LUM_REALTIME;

    int count;
    double density;          // steps per grid position of curve length
    CSampleBlockRef weights; // [4][count]: of the points before, at, after, two after
    CSampleBlockRef segment; // [2][count]: places in the grid and values of the segment's points
};

} // namespace lum
