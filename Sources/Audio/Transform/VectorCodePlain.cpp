#include "Audio/Transform/VectorCodeOfPoints.h"
#include "Audio/Transform/VectorCodeSets.h"

namespace lum {

namespace {

/// Four lanes in plain C++, without fused multiply-adds. The lanes of a block of pairs stand in the
/// order 0, 2, 1, 3, as in the vector code.
struct CVec4 {
    static constexpr int kLanes = 4;
    double v[4];

    static CVec4 load(const double* p) { return {{p[0], p[1], p[2], p[3]}}; }
    static CVec4 loadOnce(const double* p) { return load(p); }
    void store(double* p) const {
        for (int i = 0; i < 4; i++) p[i] = v[i];
    }
    static CVec4 broadcast(double x) { return {{x, x, x, x}}; }
    friend CVec4 operator+(const CVec4& a, const CVec4& b) {
        return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2], a.v[3] + b.v[3]}};
    }
    friend CVec4 operator-(const CVec4& a, const CVec4& b) {
        return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2], a.v[3] - b.v[3]}};
    }
    friend CVec4 operator*(const CVec4& a, const CVec4& b) {
        return {{a.v[0] * b.v[0], a.v[1] * b.v[1], a.v[2] * b.v[2], a.v[3] * b.v[3]}};
    }
    friend CVec4 mulAdd(const CVec4& a, const CVec4& b, const CVec4& c) { return a * b + c; }
    friend CVec4 mulSub(const CVec4& a, const CVec4& b, const CVec4& c) { return a * b - c; }
    friend CVec4 negMulAdd(const CVec4& a, const CVec4& b, const CVec4& c) { return c - a * b; }

    double sumOfLanes() const { return (v[0] + v[1]) + (v[2] + v[3]); }

    static void loadPairs(const double* p, CVec4& re, CVec4& im) {
        re = {{p[0], p[4], p[2], p[6]}};
        im = {{p[1], p[5], p[3], p[7]}};
    }
    static void storePairs(double* p, const CVec4& re, const CVec4& im) {
        const double pairs[8] = {re.v[0], im.v[0], re.v[2], im.v[2],
                                 re.v[1], im.v[1], re.v[3], im.v[3]};
        for (int i = 0; i < 8; i++) p[i] = pairs[i];
    }
    /// Point 0 at `first`, the others from `second` on, `step` values apart.
    static void loadPoints(const double* first, const double* second, ptrdiff_t step, CVec4& re,
                           CVec4& im) {
        const double* const third = second + step;
        const double* const fourth = third + step;
        re = {{first[0], third[0], second[0], fourth[0]}};
        im = {{first[1], third[1], second[1], fourth[1]}};
    }
    static void storePoints(double* first, double* second, ptrdiff_t step, const CVec4& re,
                            const CVec4& im) {
        double* const places[4] = {first, second + step, second, second + 2 * step};
        for (int l = 0; l < 4; l++) {
            places[l][0] = re.v[l];
            places[l][1] = im.v[l];
        }
    }
    static void storePoint(double* p, const CVec4& re, const CVec4& im) {
        p[0] = re.v[0];
        p[1] = im.v[0];
    }
    /// Lane l of the four rows goes to the block of point l: 0, 2, 1, 3.
    template <int Stride>
    static void storeTransposed(double* p, const CVec4& a, const CVec4& b, const CVec4& c,
                                const CVec4& d) {
        constexpr int kPoint[4] = {0, 2, 1, 3};
        for (int l = 0; l < 4; l++) {
            double* row = p + Stride * kPoint[l];
            row[0] = a.v[l];
            row[1] = b.v[l];
            row[2] = c.v[l];
            row[3] = d.v[l];
        }
    }
    template <int Stride>
    static void loadTransposed(const double* p, CVec4& a, CVec4& b, CVec4& c, CVec4& d) {
        CVec4* const rows[4] = {&a, &b, &c, &d};
        for (int r = 0; r < 4; r++)
            *rows[r] = {{p[r], p[2 * Stride + r], p[Stride + r], p[3 * Stride + r]}};
    }
    /// Points q..q+3 backwards and one on: lanes of points 0, 2, 3, 1 with 0 out of `before`.
    static CVec4 mirror(const CVec4& a, const CVec4& before) {
        return {{before.v[0], a.v[1], a.v[3], a.v[2]}};
    }
    CVec4 unmirrored() const { return {{v[0], v[1], v[3], v[2]}}; }
    static CVec4 withFirst(const CVec4& a, const CVec4& first) {
        return {{first.v[0], a.v[1], a.v[2], a.v[3]}};
    }
    CVec4 reversed() const { return {{v[3], v[2], v[1], v[0]}}; }
    static CVec4 firstLanes(const CVec4& a, const CVec4& b, const CVec4& c, const CVec4& d) {
        return {{a.v[0], b.v[0], c.v[0], d.v[0]}};
    }
};

using CFourPoints = CPoints<CVec4>;

} // namespace

const CVectorCode kVectorCodePlain = vectorCodeOfPoints<CFourPoints, 0>();

} // namespace lum
