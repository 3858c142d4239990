#include "Audio/Transform/SpectrumLoops.h"
#include "Audio/Transform/TransformPasses.h"
#include "Audio/Transform/VectorCodeSets.h"

namespace lum {

namespace {

/// Four lanes in plain C++, without fused multiply-adds. The lanes of a block of pairs stand in the
/// order 0, 2, 1, 3, as in the vector code.
struct CVec4 {
    double v[4];

    static CVec4 load(const double* p) { return {{p[0], p[1], p[2], p[3]}}; }
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
    CVec4 operator-() const { return {{-v[0], -v[1], -v[2], -v[3]}}; }
    friend CVec4 mulAdd(const CVec4& a, const CVec4& b, const CVec4& c) { return a * b + c; }
    friend CVec4 mulSub(const CVec4& a, const CVec4& b, const CVec4& c) { return a * b - c; }
    friend CVec4 negMulAdd(const CVec4& a, const CVec4& b, const CVec4& c) { return c - a * b; }

    static void loadPairs(const double* p, CVec4& re, CVec4& im) {
        re = {{p[0], p[4], p[2], p[6]}};
        im = {{p[1], p[5], p[3], p[7]}};
    }
    static void storePairs(double* p, const CVec4& re, const CVec4& im) {
        const double pairs[8] = {re.v[0], im.v[0], re.v[2], im.v[2],
                                 re.v[1], im.v[1], re.v[3], im.v[3]};
        for (int i = 0; i < 8; i++) p[i] = pairs[i];
    }
    static void loadPairsReversed(const double* p, CVec4& re, CVec4& im) {
        re = {{p[6], p[2], p[4], p[0]}};
        im = {{p[7], p[3], p[5], p[1]}};
    }
    static void storePairsReversed(double* p, const CVec4& re, const CVec4& im) {
        const double pairs[8] = {re.v[3], im.v[3], re.v[1], im.v[1],
                                 re.v[2], im.v[2], re.v[0], im.v[0]};
        for (int i = 0; i < 8; i++) p[i] = pairs[i];
    }
    /// Lane l of the four rows goes to the block of point l: 0, 2, 1, 3.
    static void storeTransposed(double* p, const CVec4& a, const CVec4& b, const CVec4& c,
                                const CVec4& d) {
        constexpr int kBlock[4] = {0, 16, 8, 24};
        for (int l = 0; l < 4; l++) {
            double* row = p + kBlock[l];
            row[0] = a.v[l];
            row[1] = b.v[l];
            row[2] = c.v[l];
            row[3] = d.v[l];
        }
    }
    static void loadTransposed(const double* p, CVec4& a, CVec4& b, CVec4& c, CVec4& d) {
        a = {{p[0], p[16], p[8], p[24]}};
        b = {{p[1], p[17], p[9], p[25]}};
        c = {{p[2], p[18], p[10], p[26]}};
        d = {{p[3], p[19], p[11], p[27]}};
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

using CPasses = CTransform<CVec4>;
using CPacked = CPackedLayout<CVec4>;
using CBlocked = CBlockedLayout<CVec4>;
using CLoops = CSpectrumLoops<CVec4>;

} // namespace

const CVectorCode kVectorCodePlain = {
    &CPasses::forward<CPacked>,  &CPasses::inverse<CPacked>, &CPasses::forward<CBlocked>,
    &CPasses::inverse<CBlocked>, &CLoops::mulPacked,         &CLoops::addProductComplex,
    &CLoops::sumProducts,        &CLoops::addRows,           &CLoops::dotProduct,
};

} // namespace lum
