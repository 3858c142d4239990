#include "Audio/Transform/VectorCodeSets.h"

#if defined(__x86_64__)

#include "Audio/Transform/VectorCodeOfPoints.h"

#include <immintrin.h>

namespace lum {

namespace {

/// Four lanes in an AVX2 register, with fused multiply-adds. In this namespace without a name, so
/// that no function compiled for AVX2 is ever linked into code for other processors.
struct CVec4 {
    static constexpr int kLanes = 4;
    __m256d v;

    static CVec4 load(const double* p) { return {_mm256_loadu_pd(p)}; }
    /// Into a register: as an operand of two instructions the compiler would load it twice.
    static CVec4 loadOnce(const double* p) {
        CVec4 value = load(p);
        asm("" : "+x"(value.v));
        return value;
    }
    void store(double* p) const { _mm256_storeu_pd(p, v); }
    static CVec4 broadcast(double x) { return {_mm256_set1_pd(x)}; }
    friend CVec4 operator+(CVec4 a, CVec4 b) { return {_mm256_add_pd(a.v, b.v)}; }
    friend CVec4 operator-(CVec4 a, CVec4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
    friend CVec4 operator*(CVec4 a, CVec4 b) { return {_mm256_mul_pd(a.v, b.v)}; }
    friend CVec4 mulAdd(CVec4 a, CVec4 b, CVec4 c) { return {_mm256_fmadd_pd(a.v, b.v, c.v)}; }
    friend CVec4 mulSub(CVec4 a, CVec4 b, CVec4 c) { return {_mm256_fmsub_pd(a.v, b.v, c.v)}; }
    friend CVec4 negMulAdd(CVec4 a, CVec4 b, CVec4 c) { return {_mm256_fnmadd_pd(a.v, b.v, c.v)}; }

    double sumOfLanes() const {
        alignas(32) double lanes[4];
        store(lanes);
        return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
    }

    static void loadPairs(const double* p, CVec4& re, CVec4& im) {
        const __m256d first = _mm256_loadu_pd(p), second = _mm256_loadu_pd(p + 4);
        re.v = _mm256_unpacklo_pd(first, second); // points 0, 2, 1, 3
        im.v = _mm256_unpackhi_pd(first, second);
    }
    static void storePairs(double* p, CVec4 re, CVec4 im) {
        _mm256_storeu_pd(p, _mm256_unpacklo_pd(re.v, im.v));
        _mm256_storeu_pd(p + 4, _mm256_unpackhi_pd(re.v, im.v));
    }
    /// Point 0 at `first`, the others from `second` on, `step` values apart.
    static void loadPoints(const double* first, const double* second, ptrdiff_t step, CVec4& re,
                           CVec4& im) {
        const __m256d points01 = _mm256_loadu2_m128d(second, first);
        const __m256d points23 = _mm256_loadu2_m128d(second + 2 * step, second + step);
        re.v = _mm256_unpacklo_pd(points01, points23);
        im.v = _mm256_unpackhi_pd(points01, points23);
    }
    static void storePoints(double* first, double* second, ptrdiff_t step, CVec4 re, CVec4 im) {
        _mm256_storeu2_m128d(second, first, _mm256_unpacklo_pd(re.v, im.v));
        _mm256_storeu2_m128d(second + 2 * step, second + step, _mm256_unpackhi_pd(re.v, im.v));
    }
    static void storePoint(double* p, CVec4 re, CVec4 im) {
        _mm_storeu_pd(p, _mm256_castpd256_pd128(_mm256_unpacklo_pd(re.v, im.v)));
    }
    /// Lane l of the four rows goes to the block of point l: 0, 2, 1, 3.
    template <int Stride>
    static void storeTransposed(double* p, CVec4 a, CVec4 b, CVec4 c, CVec4 d) {
        const __m256d ab0 = _mm256_unpacklo_pd(a.v, b.v), ab1 = _mm256_unpackhi_pd(a.v, b.v);
        const __m256d cd0 = _mm256_unpacklo_pd(c.v, d.v), cd1 = _mm256_unpackhi_pd(c.v, d.v);
        _mm256_storeu_pd(p, _mm256_permute2f128_pd(ab0, cd0, 0x20));
        _mm256_storeu_pd(p + Stride, _mm256_permute2f128_pd(ab0, cd0, 0x31));
        _mm256_storeu_pd(p + 2 * Stride, _mm256_permute2f128_pd(ab1, cd1, 0x20));
        _mm256_storeu_pd(p + 3 * Stride, _mm256_permute2f128_pd(ab1, cd1, 0x31));
    }
    template <int Stride>
    static void loadTransposed(const double* p, CVec4& a, CVec4& b, CVec4& c, CVec4& d) {
        const __m256d low0 = _mm256_loadu2_m128d(p + Stride, p); // a0 b0 a2 b2
        const __m256d low1 = _mm256_loadu2_m128d(p + 3 * Stride, p + 2 * Stride);
        const __m256d high0 = _mm256_loadu2_m128d(p + Stride + 2, p + 2);
        const __m256d high1 = _mm256_loadu2_m128d(p + 3 * Stride + 2, p + 2 * Stride + 2);
        a.v = _mm256_unpacklo_pd(low0, low1);
        b.v = _mm256_unpackhi_pd(low0, low1);
        c.v = _mm256_unpacklo_pd(high0, high1);
        d.v = _mm256_unpackhi_pd(high0, high1);
    }
    /// Points q..q+3 backwards and one on: lanes of points 0, 2, 3, 1 with 0 out of `before`.
    static CVec4 mirror(CVec4 a, CVec4 before) { return withFirst(a, before).unmirrored(); }
    CVec4 unmirrored() const { return {_mm256_permute_pd(v, 0b0110)}; }
    static CVec4 withFirst(CVec4 a, CVec4 first) { return {_mm256_blend_pd(a.v, first.v, 1)}; }
    CVec4 reversed() const { return {_mm256_permute4x64_pd(v, 0x1b)}; }
    static CVec4 firstLanes(CVec4 a, CVec4 b, CVec4 c, CVec4 d) {
        const __m256d ab = _mm256_unpacklo_pd(a.v, b.v), cd = _mm256_unpacklo_pd(c.v, d.v);
        return {_mm256_permute2f128_pd(ab, cd, 0x20)};
    }
};

using CFourPoints = CPoints<CVec4>;

} // namespace

const CVectorCode kVectorCodeAvx2 = vectorCodeOfPoints<CFourPoints, 9>(); // orders 5 to 13

} // namespace lum

#endif
