#pragma once

#include "Audio/Transform/TransformTables.h"

#include <utility>

/// The passes of the real transform, written once for any type V of four lanes. V gives load,
/// store, broadcast, arithmetic, mulAdd and the few exchanges of lanes that are used here; an
/// instruction set's file brings its V in an unnamed namespace and takes the functions of
/// CTransform<V>. All private arrays are blocks of four points, 4 real and 4 imaginary parts, with
/// the lanes of a block in the order 0, 2, 1, 3.
namespace lum {

/// Four complex points.
template <class V>
struct CPoints {
    V re;
    V im;

    static CPoints load(const double* block) { return {V::load(block), V::load(block + 4)}; }
    void store(double* block) const {
        re.store(block);
        im.store(block + 4);
    }
    friend CPoints operator+(CPoints a, CPoints b) { return {a.re + b.re, a.im + b.im}; }
    friend CPoints operator-(CPoints a, CPoints b) { return {a.re - b.re, a.im - b.im}; }
};

template <class V>
struct CTransform {
    using P = CPoints<V>;

    // Public steps ------------------------------------------------------------------------------

    template <class Layout>
    static void forward(const CTransformTables& t, const double* in, double* out, double* work) {
        timeForward(t, in, work);
        double* from = work;
        double* to = out;
        for (int i = 0; i < t.passCount; i++) {
            passForward(t.passes[i], from, to);
            std::swap(from, to);
        }
        splitForward<Layout>(t, from, out);
    }

    template <class Layout>
    static void inverse(const CTransformTables& t, const double* in, double* out, double* work) {
        double* from = t.passCount % 2 == 0 ? work : out; // so that the last one ends in `work`
        double* to = t.passCount % 2 == 0 ? out : work;
        splitInverse<Layout>(t, in, from);
        for (int i = t.passCount - 1; i >= 0; i--) {
            passInverse(t.passes[i], from, to);
            std::swap(from, to);
        }
        timeInverse(t, work, out);
    }

    // Butterflies -------------------------------------------------------------------------------

    enum class Turn { Forward, Inverse };

    /// -i * a forward, i * a inverse.
    template <Turn turn>
    static P quarterTurn(P a) {
        if constexpr (turn == Turn::Forward) return {a.im, -a.re};
        return {-a.im, a.re};
    }
    /// a * w forward, a * conj(w) inverse.
    template <Turn turn>
    static P times(P a, V wr, V wi) {
        if constexpr (turn == Turn::Forward)
            return {mulSub(a.re, wr, a.im * wi), mulAdd(a.re, wi, a.im * wr)};
        return {mulAdd(a.re, wr, a.im * wi), mulSub(a.im, wr, a.re * wi)};
    }
    template <Turn turn>
    static void butterfly4(P (&x)[4]) {
        const P s02 = x[0] + x[2], d02 = x[0] - x[2];
        const P s13 = x[1] + x[3], d13 = x[1] - x[3];
        x[0] = s02 + s13;
        x[2] = s02 - s13;
        // The quarter turn of d13 is written into the sums: no sign has to be changed.
        const P plus = {d02.re + d13.im, d02.im - d13.re};
        const P minus = {d02.re - d13.im, d02.im + d13.re};
        x[1] = turn == Turn::Forward ? plus : minus;
        x[3] = turn == Turn::Forward ? minus : plus;
    }
    template <Turn turn>
    static void butterfly8(P (&x)[8]) {
        P even[4] = {x[0] + x[4], x[1] + x[5], x[2] + x[6], x[3] + x[7]};
        P odd[4] = {x[0] - x[4], x[1] - x[5], x[2] - x[6], x[3] - x[7]};
        butterfly4<turn>(even);
        x[0] = even[0];
        x[2] = even[1];
        x[4] = even[2];
        x[6] = even[3];
        // The odd half is turned by the eighths of the circle before its butterfly.
        const V h = V::broadcast(0.70710678118654752440);
        const P a = odd[1], b = odd[3];
        const P s =
            turn == Turn::Forward ? P{a.re + a.im, a.im - a.re} : P{a.re - a.im, a.im + a.re};
        const P d =
            turn == Turn::Forward ? P{b.im - b.re, b.re + b.im} : P{b.re + b.im, b.re - b.im};
        // odd[1] becomes h * s and odd[3] h * (d.re, -d.im), conjugated in the inverse.
        const P sum =
            turn == Turn::Forward ? P{s.re + d.re, s.im - d.im} : P{s.re - d.re, s.im + d.im};
        const P dif =
            turn == Turn::Forward ? P{s.re - d.re, s.im + d.im} : P{s.re + d.re, s.im - d.im};
        const P q = quarterTurn<turn>(odd[2]);
        const P s02 = odd[0] + q, d02 = odd[0] - q;
        x[1] = {mulAdd(h, sum.re, s02.re), mulAdd(h, sum.im, s02.im)};
        x[5] = {negMulAdd(h, sum.re, s02.re), negMulAdd(h, sum.im, s02.im)};
        const P t = quarterTurn<turn>(dif);
        x[3] = {mulAdd(h, t.re, d02.re), mulAdd(h, t.im, d02.im)};
        x[7] = {negMulAdd(h, t.re, d02.re), negMulAdd(h, t.im, d02.im)};
    }
    template <Turn turn, int Radix>
    static void butterfly(P (&x)[Radix]) {
        if constexpr (Radix == 2) {
            const P sum = x[0] + x[1];
            x[1] = x[0] - x[1];
            x[0] = sum;
        } else if constexpr (Radix == 4) {
            butterfly4<turn>(x);
        } else {
            butterfly8<turn>(x);
        }
    }

    // Time pass: interleaved points to blocks, radix 4, stride 1 ----------------------------------

    static void timeForward(const CTransformTables& t, const double* in, double* out) {
        const int quarter = t.points / 4;
        const double* w = t.timeTwiddles;
        for (int p = 0; p < quarter; p += 4, w += 24) {
            P x[4];
            for (int j = 0; j < 4; j++) V::loadPairs(in + 2 * (p + j * quarter), x[j].re, x[j].im);
            butterfly4<Turn::Forward>(x);
            for (int k = 1; k < 4; k++)
                x[k] = times<Turn::Forward>(x[k], V::load(w + 8 * (k - 1)), V::load(w + 8 * k - 4));
            V::storeTransposed(out + 8 * p, x[0].re, x[2].re, x[1].re, x[3].re);
            V::storeTransposed(out + 8 * p + 4, x[0].im, x[2].im, x[1].im, x[3].im);
        }
    }
    static void timeInverse(const CTransformTables& t, const double* in, double* out) {
        const int quarter = t.points / 4;
        const double* w = t.timeTwiddles;
        for (int p = 0; p < quarter; p += 4, w += 24) {
            P x[4];
            V::loadTransposed(in + 8 * p, x[0].re, x[2].re, x[1].re, x[3].re);
            V::loadTransposed(in + 8 * p + 4, x[0].im, x[2].im, x[1].im, x[3].im);
            for (int k = 1; k < 4; k++)
                x[k] = times<Turn::Inverse>(x[k], V::load(w + 8 * (k - 1)), V::load(w + 8 * k - 4));
            butterfly4<Turn::Inverse>(x);
            for (int j = 0; j < 4; j++)
                V::storePairs(out + 2 * (p + j * quarter), x[j].re, x[j].im);
        }
    }

    // Inner passes -------------------------------------------------------------------------------

    static void passForward(const CTransformPass& pass, const double* in, double* out) {
        if (pass.radix == 2) innerForward<2>(pass, in, out);
        if (pass.radix == 4) innerForward<4>(pass, in, out);
        if (pass.radix == 8) innerForward<8>(pass, in, out);
    }
    static void passInverse(const CTransformPass& pass, const double* in, double* out) {
        if (pass.radix == 2) innerInverse<2>(pass, in, out);
        if (pass.radix == 4) innerInverse<4>(pass, in, out);
        if (pass.radix == 8) innerInverse<8>(pass, in, out);
    }
    template <int Radix>
    static void innerForward(const CTransformPass& pass, const double* in, double* out) {
        const int row = 8 * pass.blocks; // values of one leg of one group
        const int leg = row * pass.groups;
        const double* w = pass.twiddles;
        for (int p = 0; p < pass.groups; p++, w += 2 * (Radix - 1), in += row, out += row * Radix)
            for (int q = 0; q < row; q += 8) {
                P x[Radix];
                for (int j = 0; j < Radix; j++) x[j] = P::load(in + q + j * leg);
                butterfly<Turn::Forward>(x);
                x[0].store(out + q);
                for (int k = 1; k < Radix; k++)
                    times<Turn::Forward>(x[k], V::broadcast(w[2 * k - 2]),
                                         V::broadcast(w[2 * k - 1]))
                        .store(out + q + k * row);
            }
    }
    template <int Radix>
    static void innerInverse(const CTransformPass& pass, const double* in, double* out) {
        const int row = 8 * pass.blocks;
        const int leg = row * pass.groups;
        const double* w = pass.twiddles;
        for (int p = 0; p < pass.groups; p++, w += 2 * (Radix - 1), in += row * Radix, out += row)
            for (int q = 0; q < row; q += 8) {
                P x[Radix];
                x[0] = P::load(in + q);
                for (int k = 1; k < Radix; k++)
                    x[k] =
                        times<Turn::Inverse>(P::load(in + q + k * row), V::broadcast(w[2 * k - 2]),
                                             V::broadcast(w[2 * k - 1]));
                butterfly<Turn::Inverse>(x);
                for (int j = 0; j < Radix; j++) x[j].store(out + q + j * leg);
            }
    }

    // Split pass ---------------------------------------------------------------------------------
    //
    // Point k of the complex transform and point M - k give bins k and M - k of the real signal.
    // With stride s = M / 4, leg k of block b (points 4 b + lane + k s) meets leg 3 - k of block
    // s / 4 - 1 - b, shifted by one lane: lane 0's partner stands in the block of the step before.
    // The points s / 2 + k s meet each other and are left to the end.

    /// Bins from a point and its partner; `t` is (-i / 2) times the root of the bin.
    static void separate(P z, P partner, P t, P& bin, P& mirror) {
        const V half = V::broadcast(0.5);
        const P sum = {z.re + partner.re, z.im - partner.im};
        const P dif = {z.re - partner.re, z.im + partner.im};
        const P turned = times<Turn::Forward>(dif, t.re, t.im);
        bin = {mulAdd(half, sum.re, turned.re), mulAdd(half, sum.im, turned.im)};
        mirror = {mulSub(half, sum.re, turned.re), negMulAdd(half, sum.im, turned.im)};
    }
    /// The way back, giving twice the points.
    static void join(P bin, P mirror, P t, P& z, P& partner) {
        const V two = V::broadcast(2.0);
        const P sum = {bin.re + mirror.re, bin.im - mirror.im};
        const P dif = {bin.re - mirror.re, bin.im + mirror.im};
        const P turned = times<Turn::Inverse>(dif, t.re, t.im);
        z = {mulAdd(two, turned.re, sum.re), mulAdd(two, turned.im, sum.im)};
        partner = {negMulAdd(two, turned.re, sum.re), mulSub(two, turned.im, sum.im)};
    }
    /// Roots of legs 2 and 3 are those of legs 0 and 1 turned by a quarter.
    static P splitTwiddle(const double* t, int leg) {
        const P root = P::load(t + 8 * (leg & 1));
        return leg < 2 ? root : P{root.im, -root.re};
    }

    template <class Layout>
    static void splitForward(const CTransformTables& t, const double* in, double* out) {
        if (t.points == 16) return splitForwardSmall<Layout>(t, in, out);
        const int blocks = t.points / 16; // blocks of one leg
        P low[4], high[4], last[4];
        loadLegs(in, blocks, low);
        butterfly4<Turn::Forward>(low);
        for (int k = 0; k < 4; k++) last[k] = low[(k + 1) & 3];
        for (int b = 0; b < blocks / 2; b++) {
            if (b > 0) {
                loadLegs(in + 8 * b, blocks, low);
                butterfly4<Turn::Forward>(low);
            }
            loadLegs(in + 8 * (blocks - 1 - b), blocks, high);
            butterfly4<Turn::Forward>(high);
            for (int k = 0; k < 4; k++) {
                P bin, mirror;
                const P partner = {V::mirror(high[3 - k].re, last[3 - k].re),
                                   V::mirror(high[3 - k].im, last[3 - k].im)};
                separate(low[k], partner, splitTwiddle(t.splitTwiddles + 16 * b, k), bin, mirror);
                Layout::storeBins(out, t.points, b + k * blocks, bin);
                Layout::storeMirror(out, t.points, b + k * blocks, mirror);
            }
            for (int k = 0; k < 4; k++) last[k] = high[k];
        }
        middleForward<Layout>(t, last, out);
    }
    /// The points s / 2 + k s, lane 0 of the four legs, as one block with lane = leg.
    template <class Layout>
    static void middleForward(const CTransformTables& t, const P (&legs)[4], double* out) {
        P bin, mirror;
        const P z = {V::firstLanes(legs[0].re, legs[1].re, legs[2].re, legs[3].re),
                     V::firstLanes(legs[0].im, legs[1].im, legs[2].im, legs[3].im)};
        separate(z, {z.re.reversed(), z.im.reversed()}, P::load(t.middleTwiddles), bin, mirror);
        Layout::storeMiddle(out, t.points, bin);
    }
    /// M = 16: one block per leg, which is its own partner.
    template <class Layout>
    static void splitForwardSmall(const CTransformTables& t, const double* in, double* out) {
        P x[4];
        loadLegs(in, 1, x);
        butterfly4<Turn::Forward>(x);
        for (int k = 0; k < 2; k++) {
            P bin, mirror;
            const P partner = {V::mirror(x[3 - k].re, x[(4 - k) & 3].re),
                               V::mirror(x[3 - k].im, x[(4 - k) & 3].im)};
            separate(x[k], partner, splitTwiddle(t.splitTwiddles, k), bin, mirror);
            Layout::storeBins(out, t.points, k, bin);
            Layout::storeMirror(out, t.points, k, mirror);
        }
        P bin, mirror;
        separate(x[2], x[2], P::load(t.middleTwiddles), bin, mirror);
        Layout::storeMiddle(out, t.points, bin);
    }
    static void loadLegs(const double* in, int blocks, P (&x)[4]) {
        for (int k = 0; k < 4; k++) x[k] = P::load(in + 8 * blocks * k);
    }
    static void storeLegs(double* out, int blocks, const P (&x)[4]) {
        for (int k = 0; k < 4; k++) x[k].store(out + 8 * blocks * k);
    }

    template <class Layout>
    static void splitInverse(const CTransformTables& t, const double* in, double* out) {
        if (t.points == 16) return splitInverseSmall<Layout>(t, in, out);
        const int blocks = t.points / 16;
        const P middle = middleInverse<Layout>(t, in); // read first: `out` may be `in`
        P low[4], high[4], next[4];
        for (int b = 0; b < blocks / 2; b++) {
            for (int k = 0; k < 4; k++) {
                P partner;
                join(Layout::loadBins(in, t.points, b + k * blocks),
                     Layout::loadMirror(in, t.points, b + k * blocks),
                     splitTwiddle(t.splitTwiddles + 16 * b, k), low[k], partner);
                // Lane 0 completes the block of the step before.
                if (b > 0)
                    high[3 - k] = {V::withFirst(high[3 - k].re, partner.re),
                                   V::withFirst(high[3 - k].im, partner.im)};
                next[3 - k] = {partner.re.unmirrored(), partner.im.unmirrored()};
            }
            if (b > 0) finishHigh(out + 8 * (blocks - b), blocks, high);
            butterfly4<Turn::Inverse>(low);
            storeLegs(out + 8 * b, blocks, low);
            for (int k = 0; k < 4; k++) high[k] = next[k];
        }
        alignas(32) double re[4], im[4];
        middle.re.store(re);
        middle.im.store(im);
        for (int k = 0; k < 4; k++)
            high[k] = {V::withFirst(high[k].re, V::broadcast(re[k])),
                       V::withFirst(high[k].im, V::broadcast(im[k]))};
        finishHigh(out + 8 * (blocks / 2), blocks, high);
    }
    static void finishHigh(double* out, int blocks, P (&x)[4]) {
        butterfly4<Turn::Inverse>(x);
        storeLegs(out, blocks, x);
    }
    template <class Layout>
    static P middleInverse(const CTransformTables& t, const double* in) {
        P z, partner;
        const P bin = Layout::loadMiddle(in, t.points);
        join(bin, {bin.re.reversed(), bin.im.reversed()}, P::load(t.middleTwiddles), z, partner);
        return z;
    }
    template <class Layout>
    static void splitInverseSmall(const CTransformTables& t, const double* in, double* out) {
        P x[4], partner[2], middle, ignored;
        const P bin = Layout::loadMiddle(in, t.points);
        for (int k = 0; k < 2; k++)
            join(Layout::loadBins(in, t.points, k), Layout::loadMirror(in, t.points, k),
                 splitTwiddle(t.splitTwiddles, k), x[k], partner[k]);
        join(bin, bin, P::load(t.middleTwiddles), middle, ignored);
        // Points 12 and 8, lane 0 of legs 3 and 2: the partner of leg 1's lane 0 and the middle.
        x[3] = {V::withFirst(partner[0].re.unmirrored(), partner[1].re),
                V::withFirst(partner[0].im.unmirrored(), partner[1].im)};
        x[2] = {V::withFirst(partner[1].re.unmirrored(), middle.re),
                V::withFirst(partner[1].im.unmirrored(), middle.im)};
        butterfly4<Turn::Inverse>(x);
        storeLegs(out, 1, x);
    }
};

/// The packed spectrum of the service's border.
template <class V>
struct CPackedLayout {
    using P = CPoints<V>;

    /// Bins 4 * block to 4 * block + 3; storeMirror of the same block comes after it.
    static void storeBins(double* out, int, int block, P bin) {
        V::storePairs(out + 8 * block, bin.re, bin.im);
    }
    /// Bins M - 4 * block down to M - 4 * block - 3. The first of block 0 is bin N / 2, value 1.
    static void storeMirror(double* out, int points, int block, P mirror) {
        double* place = out + 2 * (points - 4 * block - 3);
        if (block > 0) return V::storePairsReversed(place, mirror.re, mirror.im);
        alignas(32) double pairs[8];
        V::storePairsReversed(pairs, mirror.re, mirror.im);
        for (int i = 0; i < 6; i++) place[i] = pairs[i];
        out[1] = pairs[6];
    }
    /// Bins s / 2 + k s in lane k; bin M / 2 alone, in lane 0, when M is 16.
    static void storeMiddle(double* out, int points, P bin) {
        alignas(32) double re[4], im[4];
        bin.re.store(re);
        bin.im.store(im);
        const int stride = points / 4;
        for (int k = 0; k < (stride > 4 ? 4 : 1); k++) {
            double* place = out + 2 * (stride > 4 ? stride / 2 + k * stride : points / 2);
            place[0] = re[k];
            place[1] = im[k];
        }
    }
    static P loadBins(const double* in, int, int block) {
        P bin;
        V::loadPairs(in + 8 * block, bin.re, bin.im);
        if (block == 0) bin.im = V::withFirst(bin.im, V::broadcast(0.0));
        return bin;
    }
    static P loadMirror(const double* in, int points, int block) {
        P mirror;
        const double* place = in + 2 * (points - 4 * block - 3);
        if (block > 0) {
            V::loadPairsReversed(place, mirror.re, mirror.im);
            return mirror;
        }
        alignas(32) double pairs[8] = {place[0], place[1], place[2], place[3],
                                       place[4], place[5], in[1],    0.0};
        V::loadPairsReversed(pairs, mirror.re, mirror.im);
        return mirror;
    }
    static P loadMiddle(const double* in, int points) {
        alignas(32) double re[4] = {}, im[4] = {};
        const int stride = points / 4;
        for (int k = 0; k < (stride > 4 ? 4 : 1); k++) {
            const double* place = in + 2 * (stride > 4 ? stride / 2 + k * stride : points / 2);
            re[k] = place[0];
            im[k] = place[1];
        }
        return {V::load(re), V::load(im)};
    }
};

/// The blocked spectrum: what the split pass makes, stored as it is. A few bins stand twice, which
/// costs nothing and lets the products run over the whole array without a special case.
template <class V>
struct CBlockedLayout {
    using P = CPoints<V>;

    static void storeBins(double* out, int, int block, P bin) { bin.store(out + 8 * block); }
    static void storeMirror(double* out, int points, int block, P mirror) {
        mirror.store(out + 8 * (points / 4 - 1 - block));
    }
    static void storeMiddle(double* out, int points, P bin) { bin.store(out + 2 * points); }
    static P loadBins(const double* in, int, int block) { return P::load(in + 8 * block); }
    static P loadMirror(const double* in, int points, int block) {
        return P::load(in + 8 * (points / 4 - 1 - block));
    }
    static P loadMiddle(const double* in, int points) { return P::load(in + 2 * points); }
};

} // namespace lum
