#include "Audio/Transform/VectorCodeSets.h"

#if defined(__x86_64__)

#include "Audio/Transform/VectorCodeOfPoints.h"

#include <immintrin.h>

namespace lum {

// In this namespace without a name, so that no function compiled for AVX-512 is ever linked into
// code for other processors.
namespace {

/// Eight real values.
struct CVec8 {
    static constexpr int kLanes = 8;
    __m512d v;

    static CVec8 load(const double* p) { return {_mm512_loadu_pd(p)}; }
    void store(double* p) const { _mm512_storeu_pd(p, v); }
    static CVec8 broadcast(double x) { return {_mm512_set1_pd(x)}; }
    friend CVec8 operator+(CVec8 a, CVec8 b) { return {_mm512_add_pd(a.v, b.v)}; }
    friend CVec8 mulAdd(CVec8 a, CVec8 b, CVec8 c) { return {_mm512_fmadd_pd(a.v, b.v, c.v)}; }
    double sumOfLanes() const { return _mm512_reduce_add_pd(v); }
};

/// Four complex points in one register, interleaved and in ascending order, as samples come in
/// pairs: half the arithmetic of CPoints, and samples and roots need no taking apart. A factor of
/// i costs an exchange of neighbours, and its sign a multiply-add that is there anyway.
struct CWidePoints {
    using Reals = CVec8;
    struct Roots { // each part twice, beside both parts of its point
        __m512d re;
        __m512d im;
    };

    __m512d v;

    // Memory ------------------------------------------------------------------------------------

    static CWidePoints load(const double* block) { return {_mm512_loadu_pd(block)}; }
    void store(double* block) const { _mm512_storeu_pd(block, v); }
    /// Into a register: as an operand of two instructions the compiler would load it twice.
    static __m512d loadOnce(const double* p) {
        __m512d value = _mm512_loadu_pd(p);
        asm("" : "+v"(value));
        return value;
    }
    static CWidePoints loadBlock(const double* block) {
        const __m512i lanes = _mm512_setr_epi64(0, 4, 2, 6, 1, 5, 3, 7);
        return {_mm512_permutexvar_pd(lanes, _mm512_loadu_pd(block))};
    }
    void storeBlock(double* block) const {
        const __m512i lanes = _mm512_setr_epi64(0, 4, 2, 6, 1, 5, 3, 7);
        _mm512_storeu_pd(block, _mm512_permutexvar_pd(lanes, v));
    }
    static Roots loadRoots(const double* block) {
        const __m512d parts = _mm512_loadu_pd(block);
        const __m512i re = _mm512_setr_epi64(0, 0, 2, 2, 1, 1, 3, 3);
        const __m512i im = _mm512_setr_epi64(4, 4, 6, 6, 5, 5, 7, 7);
        return {_mm512_permutexvar_pd(re, parts), _mm512_permutexvar_pd(im, parts)};
    }
    static Roots broadcastRoot(const double* root) {
        return {_mm512_set1_pd(root[0]), _mm512_set1_pd(root[1])};
    }
    static CWidePoints loadPairs(const double* p) { return load(p); }
    void storePairs(double* p) const { store(p); }
    static CWidePoints loadPoints(const double* first, const double* second, ptrdiff_t step) {
        const __m256d points01 = _mm256_loadu2_m128d(second, first);
        const __m256d points23 = _mm256_loadu2_m128d(second + 2 * step, second + step);
        return {_mm512_insertf64x4(_mm512_castpd256_pd512(points01), points23, 1)};
    }
    void storePoints(double* first, double* second, ptrdiff_t step) const {
        _mm256_storeu2_m128d(second, first, _mm512_castpd512_pd256(v));
        _mm256_storeu2_m128d(second + 2 * step, second + step, _mm512_extractf64x4_pd(v, 1));
    }
    void storeFirst(double* p) const { _mm_storeu_pd(p, _mm512_castpd512_pd128(v)); }
    template <int Stride>
    static void storeTransposed(double* p, const CWidePoints* x) {
        CWidePoints y[4] = {x[0], x[1], x[2], x[3]};
        transpose(y);
        for (int l = 0; l < 4; l++) y[l].store(p + Stride * l);
    }
    template <int Stride>
    static void loadTransposed(const double* p, CWidePoints* x) {
        for (int l = 0; l < 4; l++) x[l] = load(p + Stride * l);
        transpose(x);
    }
    static void transpose(CWidePoints* x) {
        const __m512d low01 = _mm512_shuffle_f64x2(x[0].v, x[1].v, 0x44); // points 0, 1 of each
        const __m512d low23 = _mm512_shuffle_f64x2(x[2].v, x[3].v, 0x44);
        const __m512d high01 = _mm512_shuffle_f64x2(x[0].v, x[1].v, 0xee);
        const __m512d high23 = _mm512_shuffle_f64x2(x[2].v, x[3].v, 0xee);
        x[0].v = _mm512_shuffle_f64x2(low01, low23, 0x88);
        x[1].v = _mm512_shuffle_f64x2(low01, low23, 0xdd);
        x[2].v = _mm512_shuffle_f64x2(high01, high23, 0x88);
        x[3].v = _mm512_shuffle_f64x2(high01, high23, 0xdd);
    }

    // Arithmetic --------------------------------------------------------------------------------

    /// Real and imaginary parts exchanged.
    static __m512d swapped(__m512d a) { return _mm512_permute_pd(a, 0x55); }
    /// Factors of the real and the imaginary parts.
    static __m512d factors(double re, double im) {
        return _mm512_setr_pd(re, im, re, im, re, im, re, im);
    }

    friend CWidePoints operator+(CWidePoints a, CWidePoints b) { return {_mm512_add_pd(a.v, b.v)}; }
    friend CWidePoints operator-(CWidePoints a, CWidePoints b) { return {_mm512_sub_pd(a.v, b.v)}; }
    static CWidePoints plusConjugate(CWidePoints a, CWidePoints b) {
        return {_mm512_fmadd_pd(factors(1.0, -1.0), b.v, a.v)};
    }
    static CWidePoints minusConjugate(CWidePoints a, CWidePoints b) {
        return {_mm512_fnmadd_pd(factors(1.0, -1.0), b.v, a.v)};
    }
    template <Turn turn>
    static CWidePoints plusQuarter(CWidePoints a, CWidePoints b) {
        return plusScaledQuarter<turn>(a, 1.0, b);
    }
    static CWidePoints plusScaled(CWidePoints a, double h, CWidePoints b) {
        return {_mm512_fmadd_pd(_mm512_set1_pd(h), b.v, a.v)};
    }
    static CWidePoints minusScaled(CWidePoints a, double h, CWidePoints b) {
        return {_mm512_fnmadd_pd(_mm512_set1_pd(h), b.v, a.v)};
    }
    template <Turn turn>
    static CWidePoints plusScaledQuarter(CWidePoints a, double h, CWidePoints b) {
        if constexpr (turn == Turn::Forward)
            return {_mm512_fmadd_pd(factors(h, -h), swapped(b.v), a.v)};
        return {_mm512_fnmadd_pd(factors(h, -h), swapped(b.v), a.v)};
    }
    // These two: the alternating multiply-add subtracts c from the even lanes, or from the odd
    // ones.
    static CWidePoints conjugateOfHalfMinus(CWidePoints a, CWidePoints b) {
        return {_mm512_fmaddsub_pd(factors(0.5, -0.5), a.v, b.v)};
    }
    static CWidePoints conjugateOfMinusTwice(CWidePoints a, CWidePoints b) {
        return {_mm512_fmsubadd_pd(factors(-2.0, 2.0), b.v, a.v)};
    }
    template <Turn turn>
    CWidePoints times(Roots w) const {
        const __m512d crossed = _mm512_mul_pd(swapped(v), w.im);
        if constexpr (turn == Turn::Forward) return {_mm512_fmaddsub_pd(v, w.re, crossed)};
        return {_mm512_fmsubadd_pd(v, w.re, crossed)};
    }
    Roots asRoots() const { return {_mm512_movedup_pd(v), _mm512_permute_pd(v, 0xff)}; }

    // Exchanges of points -----------------------------------------------------------------------

    static CWidePoints mirrored(CWidePoints a, CWidePoints before) {
        return {_mm512_mask_shuffle_f64x2(before.v, 0xfc, a.v, a.v, 0x6c)};
    }
    CWidePoints unmirrored() const { return {_mm512_shuffle_f64x2(v, v, 0x6c)}; }
    CWidePoints reversed() const { return {_mm512_shuffle_f64x2(v, v, 0x1b)}; }
    static CWidePoints withFirst(CWidePoints a, CWidePoints first) {
        return {_mm512_mask_mov_pd(a.v, 0x03, first.v)};
    }
    static CWidePoints gatherFirst(const CWidePoints (&x)[4]) {
        CWidePoints y[4] = {x[0], x[1], x[2], x[3]};
        transpose(y);
        return y[0];
    }
    void scatterFirst(CWidePoints (&x)[4]) const {
        x[0].v = _mm512_mask_shuffle_f64x2(x[0].v, 0x03, v, v, 0);
        x[1].v = _mm512_mask_shuffle_f64x2(x[1].v, 0x03, v, v, 1);
        x[2].v = _mm512_mask_shuffle_f64x2(x[2].v, 0x03, v, v, 2);
        x[3].v = _mm512_mask_shuffle_f64x2(x[3].v, 0x03, v, v, 3);
    }
    static CWidePoints withEndsJoined(CWidePoints bottom, CWidePoints top) {
        return {_mm512_mask_movedup_pd(bottom.v, 0x02, top.v)};
    }
    static void partEnds(CWidePoints& bottom, CWidePoints& top) {
        top.v = _mm512_mask_permute_pd(top.v, 0x01, bottom.v, 0x55);
        top.v = _mm512_mask_mov_pd(top.v, 0x02, _mm512_setzero_pd());
        bottom.v = _mm512_mask_mov_pd(bottom.v, 0x02, _mm512_setzero_pd());
    }

    // Products of blocked spectra ----------------------------------------------------------------

    /// A block is one register, its real parts in the lower half: two multiply-adds for four bins,
    /// whose halves are put together at the end.
    struct CProductSum {
        __m512d straight; // re * re, im * im
        __m512d crossed;  // re * im, im * re

        static CProductSum zero() { return {_mm512_setzero_pd(), _mm512_setzero_pd()}; }
        void add(const double* x, const double* y, int at) {
            const __m512d a = loadOnce(x + at), b = loadOnce(y + at);
            straight = _mm512_fmadd_pd(a, b, straight);
            crossed = _mm512_fmadd_pd(a, _mm512_shuffle_f64x2(b, b, 0x4e), crossed);
        }
        void store(double* block) const {
            _mm256_storeu_pd(block, _mm256_sub_pd(_mm512_castpd512_pd256(straight),
                                                  _mm512_extractf64x4_pd(straight, 1)));
            _mm256_storeu_pd(block + 4, _mm256_add_pd(_mm512_castpd512_pd256(crossed),
                                                      _mm512_extractf64x4_pd(crossed, 1)));
        }
    };
    static constexpr int kSumsAtOnce = 4; // eight chains; more of them gain nothing
};

} // namespace

const CVectorCode kVectorCodeAvx512 = vectorCodeOfPoints<CWidePoints, 9>(); // orders 5 to 13

} // namespace lum

#endif
