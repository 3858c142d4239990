#pragma once

#include <cstddef>

namespace lum {

enum class Turn { Forward, Inverse };

constexpr Turn opposite(Turn turn) {
    return turn == Turn::Forward ? Turn::Inverse : Turn::Forward;
}

/// Four complex points in two vectors of type V, which has four lanes: what the passes of
/// TransformPasses.h and the loops of SpectrumLoops.h are written in. V gives load, store,
/// broadcast, arithmetic, mulAdd and the few exchanges of lanes that are used here. The lanes hold
/// points 0, 2, 1, 3. Points in one vector look the same from outside, see VectorCodeAvx512.cpp.
template <class V>
struct CPoints {
    using Reals = V;
    struct Roots { // a factor for each point
        V re;
        V im;
    };

    V re;
    V im;

    // Memory ------------------------------------------------------------------------------------

    /// A block of a private array.
    static CPoints load(const double* block) { return {V::load(block), V::load(block + 4)}; }
    void store(double* block) const {
        re.store(block);
        im.store(block + 4);
    }
    /// A block of a blocked spectrum or a table: four real and then four imaginary parts, the
    /// points in the order 0, 2, 1, 3.
    static CPoints loadBlock(const double* block) { return load(block); }
    void storeBlock(double* block) const { store(block); }
    static Roots loadRoots(const double* block) { return {V::load(block), V::load(block + 4)}; }
    static Roots broadcastRoot(const double* root) {
        return {V::broadcast(root[0]), V::broadcast(root[1])};
    }
    /// Interleaved points.
    static CPoints loadPairs(const double* p) {
        CPoints a;
        V::loadPairs(p, a.re, a.im);
        return a;
    }
    void storePairs(double* p) const { V::storePairs(p, re, im); }
    /// Point 0 at `first`, the others from `second` on, `step` values apart.
    static CPoints loadPoints(const double* first, const double* second, ptrdiff_t step) {
        CPoints a;
        V::loadPoints(first, second, step, a.re, a.im);
        return a;
    }
    void storePoints(double* first, double* second, ptrdiff_t step) const {
        V::storePoints(first, second, step, re, im);
    }
    void storeFirst(double* p) const { V::storePoint(p, re, im); }
    /// Point l of x[0] to x[3] makes the private block at p + Stride * l.
    template <int Stride>
    static void storeTransposed(double* p, const CPoints* x) {
        V::template storeTransposed<Stride>(p, x[0].re, x[2].re, x[1].re, x[3].re);
        V::template storeTransposed<Stride>(p + 4, x[0].im, x[2].im, x[1].im, x[3].im);
    }
    template <int Stride>
    static void loadTransposed(const double* p, CPoints* x) {
        V::template loadTransposed<Stride>(p, x[0].re, x[2].re, x[1].re, x[3].re);
        V::template loadTransposed<Stride>(p + 4, x[0].im, x[2].im, x[1].im, x[3].im);
    }

    // Arithmetic --------------------------------------------------------------------------------

    friend CPoints operator+(CPoints a, CPoints b) { return {a.re + b.re, a.im + b.im}; }
    friend CPoints operator-(CPoints a, CPoints b) { return {a.re - b.re, a.im - b.im}; }
    /// a + conj(b), a - conj(b)
    static CPoints plusConjugate(CPoints a, CPoints b) { return {a.re + b.re, a.im - b.im}; }
    static CPoints minusConjugate(CPoints a, CPoints b) { return {a.re - b.re, a.im + b.im}; }
    /// a - i * b forward, a + i * b inverse: the turn is written into the sum, no sign is changed.
    template <Turn turn>
    static CPoints plusQuarter(CPoints a, CPoints b) {
        if constexpr (turn == Turn::Forward) return {a.re + b.im, a.im - b.re};
        return {a.re - b.im, a.im + b.re};
    }
    /// a + h * b, a - h * b
    static CPoints plusScaled(CPoints a, double h, CPoints b) {
        const V factor = V::broadcast(h);
        return {mulAdd(factor, b.re, a.re), mulAdd(factor, b.im, a.im)};
    }
    static CPoints minusScaled(CPoints a, double h, CPoints b) {
        const V factor = V::broadcast(h);
        return {negMulAdd(factor, b.re, a.re), negMulAdd(factor, b.im, a.im)};
    }
    /// plusQuarter of h * b
    template <Turn turn>
    static CPoints plusScaledQuarter(CPoints a, double h, CPoints b) {
        const V factor = V::broadcast(h);
        if constexpr (turn == Turn::Forward)
            return {mulAdd(factor, b.im, a.re), negMulAdd(factor, b.re, a.im)};
        return {negMulAdd(factor, b.im, a.re), mulAdd(factor, b.re, a.im)};
    }
    /// conj(a / 2 - b), conj(a - 2 * b)
    static CPoints conjugateOfHalfMinus(CPoints a, CPoints b) {
        const V half = V::broadcast(0.5);
        return {mulSub(half, a.re, b.re), negMulAdd(half, a.im, b.im)};
    }
    static CPoints conjugateOfMinusTwice(CPoints a, CPoints b) {
        const V two = V::broadcast(2.0);
        return {negMulAdd(two, b.re, a.re), mulSub(two, b.im, a.im)};
    }
    /// Times w forward, times conj(w) inverse.
    template <Turn turn>
    CPoints times(Roots w) const {
        if constexpr (turn == Turn::Forward)
            return {mulSub(re, w.re, im * w.im), mulAdd(re, w.im, im * w.re)};
        return {mulAdd(re, w.re, im * w.im), mulSub(im, w.re, re * w.im)};
    }
    Roots asRoots() const { return {re, im}; }

    // Exchanges of points -----------------------------------------------------------------------

    /// Point 0 of `before`, then points 3, 2 and 1 of a.
    static CPoints mirrored(CPoints a, CPoints before) {
        return {V::mirror(a.re, before.re), V::mirror(a.im, before.im)};
    }
    /// Points 0, 3, 2, 1.
    CPoints unmirrored() const { return {re.unmirrored(), im.unmirrored()}; }
    CPoints reversed() const { return {re.reversed(), im.reversed()}; }
    static CPoints withFirst(CPoints a, CPoints first) {
        return {V::withFirst(a.re, first.re), V::withFirst(a.im, first.im)};
    }
    /// Point 0 of each of the four, and back.
    static CPoints gatherFirst(const CPoints (&x)[4]) {
        return {V::firstLanes(x[0].re, x[2].re, x[1].re, x[3].re),
                V::firstLanes(x[0].im, x[2].im, x[1].im, x[3].im)};
    }
    void scatterFirst(CPoints (&x)[4]) const {
        alignas(32) double lanes[2][4];
        re.store(lanes[0]);
        im.store(lanes[1]);
        for (int k = 0; k < 4; k++) {
            constexpr int kLane[4] = {0, 2, 1, 3};
            x[k] = withFirst(x[k],
                             {V::broadcast(lanes[0][kLane[k]]), V::broadcast(lanes[1][kLane[k]])});
        }
    }
    /// The real values at bins 0 and N / 2 as one point: the real part of point 0 of `top` becomes
    /// the imaginary part of point 0 of `bottom`.
    static CPoints withEndsJoined(CPoints bottom, CPoints top) {
        return {bottom.re, V::withFirst(bottom.im, top.re)};
    }
    static void partEnds(CPoints& bottom, CPoints& top) {
        const V zero = V::broadcast(0.0);
        top = {V::withFirst(top.re, bottom.im), V::withFirst(top.im, zero)};
        bottom.im = V::withFirst(bottom.im, zero);
    }

    // Products of blocked spectra ----------------------------------------------------------------

    /// The sum of products of blocks, as four chains of multiply-adds. Two loads a cycle are the
    /// limit, so every value is loaded once and no more.
    struct CProductSum {
        V rr, ii, ri, ir;

        static CProductSum zero() {
            const V none = V::broadcast(0.0);
            return {none, none, none, none};
        }
        void add(const double* x, const double* y, int at) {
            const V xr = V::loadOnce(x + at), xi = V::loadOnce(x + at + 4);
            const V yr = V::loadOnce(y + at), yi = V::loadOnce(y + at + 4);
            rr = mulAdd(xr, yr, rr);
            ii = mulAdd(xi, yi, ii);
            ri = mulAdd(xr, yi, ri);
            ir = mulAdd(xi, yr, ir);
        }
        void store(double* block) const { CPoints{rr - ii, ri + ir}.storeBlock(block); }
    };
    static constexpr int kSumsAtOnce = 2; // as many as the registers hold
};

} // namespace lum
