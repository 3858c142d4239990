#pragma once

#include "Audio/Transform/TransformTables.h"

#include <cstddef>
#include <type_traits>
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

/// A size that is known when the code is compiled. A pass takes its sizes as int or as one of
/// these: constants make the offsets part of the instructions and short loops straight code.
template <int Value>
using CSize = std::integral_constant<int, Value>;

/// FixedOrders: how many orders, from the lowest on, have code of their own with constant sizes. It
/// takes a fifth fewer instructions than the code that the other orders share.
template <class V, int FixedOrders>
struct CTransform {
    using P = CPoints<V>;

    // Public steps ------------------------------------------------------------------------------

    template <class Layout>
    static void forward(const CTransformTables& t, const double* in, double* out, double* work) {
        const bool isDone = withFixedOrder(
            t.order, [&](auto order) { forwardFixed<Layout, order>(t, in, out, work); });
        if (isDone) return;
        t.timeRadix == 4 ? timeForward<4>(t.timeTwiddles, in, work, t.points)
                         : timeForward<8>(t.timeTwiddles, in, work, t.points);
        double* from = work;
        double* to = out;
        for (int i = 0; i < t.passCount; i++) {
            passForward(t.passes[i], from, to);
            std::swap(from, to);
        }
        splitForward<Layout>(t, from, out, t.points);
    }

    template <class Layout>
    static void inverse(const CTransformTables& t, const double* in, double* out, double* work) {
        const bool isDone = withFixedOrder(
            t.order, [&](auto order) { inverseFixed<Layout, order>(t, in, out, work); });
        if (isDone) return;
        double* from = t.passCount % 2 == 0 ? work : out; // so that the last one ends in `work`
        double* to = t.passCount % 2 == 0 ? out : work;
        splitInverse<Layout>(t, in, from, t.points);
        for (int i = t.passCount - 1; i >= 0; i--) {
            passInverse(t.passes[i], from, to);
            std::swap(from, to);
        }
        t.timeRadix == 4 ? timeInverse<4>(t.timeTwiddles, work, out, t.points)
                         : timeInverse<8>(t.timeTwiddles, work, out, t.points);
    }

    /// Calls `step` with the order as a constant if there is code for it.
    template <class Step>
    static bool withFixedOrder(int order, Step step) {
        return [&]<int... I>(std::integer_sequence<int, I...>) {
            return ((order == CTransformPlan::kMinOrder + I &&
                     (step(CSize<CTransformPlan::kMinOrder + I>()), true)) ||
                    ...);
        }
        (std::make_integer_sequence<int, FixedOrders>());
    }

    /// The same steps with constant sizes.
    template <class Layout, int Order>
    [[gnu::flatten, gnu::noinline]] static void
    forwardFixed(const CTransformTables& t, const double* in, double* out, double* work) {
        constexpr CTransformPlan plan = CTransformPlan::of(Order);
        constexpr CSize<plan.points> points;
        timeForward<plan.timeRadix>(t.timeTwiddles, in, work, points);
        [&]<int... I>(std::integer_sequence<int, I...>) {
            (passForwardFixed<Order, I>(t, work, out), ...);
        }
        (std::make_integer_sequence<int, plan.passCount>());
        splitForward<Layout>(t, plan.passCount % 2 == 0 ? work : out, out, points);
    }
    template <class Layout, int Order>
    [[gnu::flatten, gnu::noinline]] static void
    inverseFixed(const CTransformTables& t, const double* in, double* out, double* work) {
        constexpr CTransformPlan plan = CTransformPlan::of(Order);
        constexpr CSize<plan.points> points;
        splitInverse<Layout>(t, in, plan.passCount % 2 == 0 ? work : out, points);
        [&]<int... I>(std::integer_sequence<int, I...>) {
            (passInverseFixed<Order, plan.passCount - 1 - I>(t, work, out), ...);
        }
        (std::make_integer_sequence<int, plan.passCount>());
        timeInverse<plan.timeRadix>(t.timeTwiddles, work, out, points);
    }
    /// Pass I leads from `work` to `out` when I is even and back when it is odd.
    template <int Order, int I>
    static void passForwardFixed(const CTransformTables& t, double* work, double* out) {
        constexpr CTransformPass pass = CTransformPlan::of(Order).passes[I];
        innerForward<pass.radix>(t.passes[I].twiddles, I % 2 == 0 ? work : out,
                                 I % 2 == 0 ? out : work, CSize<pass.groups>(),
                                 CSize<pass.blocks>());
    }
    template <int Order, int I>
    static void passInverseFixed(const CTransformTables& t, double* work, double* out) {
        constexpr CTransformPass pass = CTransformPlan::of(Order).passes[I];
        innerInverse<pass.radix>(t.passes[I].twiddles, I % 2 == 0 ? out : work,
                                 I % 2 == 0 ? work : out, CSize<pass.groups>(),
                                 CSize<pass.blocks>());
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
        if constexpr (Radix == 4)
            butterfly4<turn>(x);
        else
            butterfly8<turn>(x);
    }

    // Time pass: interleaved points to blocks, stride 1 -------------------------------------------

    template <int Radix, class Size>
    static void timeForward(const double* w, const double* in, double* out, Size points) {
        const int leg = points / Radix;
        for (int p = 0; p < leg; p += 4, w += 8 * (Radix - 1)) {
            P x[Radix];
            for (int j = 0; j < Radix; j++) V::loadPairs(in + 2 * (p + j * leg), x[j].re, x[j].im);
            butterfly<Turn::Forward>(x);
            for (int k = 1; k < Radix; k++) x[k] = turned<Turn::Forward>(x[k], w + 8 * (k - 1));
            double* place = out + 2 * Radix * p;
            for (int k = 0; k < Radix; k += 4, place += 8) {
                V::template storeTransposed<2 * Radix>(place, x[k].re, x[k + 2].re, x[k + 1].re,
                                                       x[k + 3].re);
                V::template storeTransposed<2 * Radix>(place + 4, x[k].im, x[k + 2].im, x[k + 1].im,
                                                       x[k + 3].im);
            }
        }
    }
    template <int Radix, class Size>
    static void timeInverse(const double* w, const double* in, double* out, Size points) {
        const int leg = points / Radix;
        for (int p = 0; p < leg; p += 4, w += 8 * (Radix - 1)) {
            P x[Radix];
            const double* place = in + 2 * Radix * p;
            for (int k = 0; k < Radix; k += 4, place += 8) {
                V::template loadTransposed<2 * Radix>(place, x[k].re, x[k + 2].re, x[k + 1].re,
                                                      x[k + 3].re);
                V::template loadTransposed<2 * Radix>(place + 4, x[k].im, x[k + 2].im, x[k + 1].im,
                                                      x[k + 3].im);
            }
            for (int k = 1; k < Radix; k++) x[k] = turned<Turn::Inverse>(x[k], w + 8 * (k - 1));
            butterfly<Turn::Inverse>(x);
            for (int j = 0; j < Radix; j++)
                V::storePairs(out + 2 * (p + j * leg), x[j].re, x[j].im);
        }
    }
    /// Four points by the four roots of a block.
    template <Turn turn>
    static P turned(P a, const double* roots) {
        return times<turn>(a, V::load(roots), V::load(roots + 4));
    }

    // Inner passes -------------------------------------------------------------------------------

    static void passForward(const CTransformPass& pass, const double* in, double* out) {
        if (pass.radix == 4) innerForward<4>(pass.twiddles, in, out, pass.groups, pass.blocks);
        if (pass.radix == 8) innerForward<8>(pass.twiddles, in, out, pass.groups, pass.blocks);
    }
    static void passInverse(const CTransformPass& pass, const double* in, double* out) {
        if (pass.radix == 4) innerInverse<4>(pass.twiddles, in, out, pass.groups, pass.blocks);
        if (pass.radix == 8) innerInverse<8>(pass.twiddles, in, out, pass.groups, pass.blocks);
    }
    template <int Radix, class Groups, class Blocks>
    static void innerForward(const double* w, const double* in, double* out, Groups groups,
                             Blocks blocks) {
        const int row = 8 * blocks; // values of one leg of one group
        const int leg = row * groups;
        for (int p = 0; p < groups; p++, w += 2 * (Radix - 1), in += row, out += row * Radix)
            for (int q = 0; q < row; q += 8) {
                P x[Radix];
                for (int j = 0; j < Radix; j++) x[j] = P::load(in + q + j * leg);
                butterfly<Turn::Forward>(x);
                x[0].store(out + q);
                for (int k = 1; k < Radix; k++)
                    turnedByOne<Turn::Forward>(x[k], w + 2 * (k - 1)).store(out + q + k * row);
            }
    }
    template <int Radix, class Groups, class Blocks>
    static void innerInverse(const double* w, const double* in, double* out, Groups groups,
                             Blocks blocks) {
        const int row = 8 * blocks;
        const int leg = row * groups;
        for (int p = 0; p < groups; p++, w += 2 * (Radix - 1), in += row * Radix, out += row)
            for (int q = 0; q < row; q += 8) {
                P x[Radix];
                x[0] = P::load(in + q);
                for (int k = 1; k < Radix; k++)
                    x[k] = turnedByOne<Turn::Inverse>(P::load(in + q + k * row), w + 2 * (k - 1));
                butterfly<Turn::Inverse>(x);
                for (int j = 0; j < Radix; j++) x[j].store(out + q + j * leg);
            }
    }
    /// Four points by one root.
    template <Turn turn>
    static P turnedByOne(P a, const double* root) {
        return times<turn>(a, V::broadcast(root[0]), V::broadcast(root[1]));
    }

    // Split pass ---------------------------------------------------------------------------------
    //
    // Point k of the complex transform and point M - k give bins k and M - k of the real signal.
    // With stride s = M / 4, leg k of block b (points 4 b + lane + k s) meets leg 3 - k of block
    // s / 4 - 1 - b, shifted by one lane: lane 0's partner stands in the block of the step before.
    // The points s / 2 + k s meet each other and are left to the end.

    /// Bins from a point and its partner; `turned` is their difference (z - conj(partner)) times
    /// (-i / 2) times the root of the bin.
    static void separate(P z, P partner, P turned, P& bin, P& mirror) {
        const V half = V::broadcast(0.5);
        const P sum = {z.re + partner.re, z.im - partner.im};
        bin = {mulAdd(half, sum.re, turned.re), mulAdd(half, sum.im, turned.im)};
        mirror = {mulSub(half, sum.re, turned.re), negMulAdd(half, sum.im, turned.im)};
    }
    /// The way back, giving twice the points.
    static void join(P bin, P mirror, P turned, P& z, P& partner) {
        const V two = V::broadcast(2.0);
        const P sum = {bin.re + mirror.re, bin.im - mirror.im};
        z = {mulAdd(two, turned.re, sum.re), mulAdd(two, turned.im, sum.im)};
        partner = {negMulAdd(two, turned.re, sum.re), mulSub(two, turned.im, sum.im)};
    }
    static P difference(P z, P partner) { return {z.re - partner.re, z.im + partner.im}; }
    /// The difference of leg k turned by the roots of a block; those of legs 2 and 3 are -i times
    /// those of legs 0 and 1.
    template <Turn turn>
    static P turnedLeg(P z, P partner, const double* roots, int leg) {
        constexpr Turn back = turn == Turn::Forward ? Turn::Inverse : Turn::Forward;
        const P root = P::load(roots + 8 * (leg & 1));
        const P dif = difference(z, partner);
        return leg < 2 ? times<turn>(dif, root.re, root.im) : times<back>(dif, root.im, root.re);
    }

    template <class Layout, class Size>
    static void splitForward(const CTransformTables& t, const double* in, double* out,
                             Size points) {
        if (points == 16) return splitForwardSmall<Layout>(t, in, out);
        const int blocks = points / 16; // blocks of one leg
        const double* const roots = t.splitTwiddles;
        P low[4], high[4], last[4];
        loadLegs(in, blocks, low);
        butterfly4<Turn::Forward>(low);
        for (int k = 0; k < 4; k++) last[k] = low[(k + 1) & 3];
#pragma GCC unroll 2
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
                separate(low[k], partner,
                         turnedLeg<Turn::Forward>(low[k], partner, roots + 16 * b, k), bin, mirror);
                Layout::storeBins(out, points, b + k * blocks, bin, mirror);
            }
            for (int k = 0; k < 4; k++) last[k] = high[k];
        }
        middleForward<Layout>(t, last, out, points);
    }
    /// The points s / 2 + k s, lane 0 of the four legs, as one block of four points.
    template <class Layout, class Size>
    static void middleForward(const CTransformTables& t, const P (&legs)[4], double* out,
                              Size points) {
        P bin, mirror;
        const P z = {V::firstLanes(legs[0].re, legs[2].re, legs[1].re, legs[3].re),
                     V::firstLanes(legs[0].im, legs[2].im, legs[1].im, legs[3].im)};
        const P partner = {z.re.reversed(), z.im.reversed()};
        separate(z, partner, turnedLeg<Turn::Forward>(z, partner, t.middleTwiddles, 0), bin,
                 mirror);
        Layout::storeMiddle(out, points, bin);
    }
    /// M = 16: one block per leg, which is its own partner.
    template <class Layout>
    static void splitForwardSmall(const CTransformTables& t, const double* in, double* out) {
        P x[4];
        loadLegs(in, 1, x);
        butterfly4<Turn::Forward>(x);
        P bin, mirror;
        for (int k = 0; k < 2; k++) {
            const P partner = {V::mirror(x[3 - k].re, x[(4 - k) & 3].re),
                               V::mirror(x[3 - k].im, x[(4 - k) & 3].im)};
            separate(x[k], partner, turnedLeg<Turn::Forward>(x[k], partner, t.splitTwiddles, k),
                     bin, mirror);
            Layout::storeBins(out, 16, k, bin, mirror);
        }
        separate(x[2], x[2], turnedLeg<Turn::Forward>(x[2], x[2], t.middleTwiddles, 0), bin,
                 mirror);
        Layout::storeMiddle(out, 16, bin);
    }
    static void loadLegs(const double* in, int blocks, P (&x)[4]) {
        for (int k = 0; k < 4; k++) x[k] = P::load(in + 8 * blocks * k);
    }
    static void storeLegs(double* out, int blocks, const P (&x)[4]) {
        for (int k = 0; k < 4; k++) x[k].store(out + 8 * blocks * k);
    }

    template <class Layout, class Size>
    static void splitInverse(const CTransformTables& t, const double* in, double* out,
                             Size points) {
        if (points == 16) return splitInverseSmall<Layout>(t, in, out);
        const int blocks = points / 16;
        const double* const roots = t.splitTwiddles;
        const P middle = middleInverse<Layout>(t, in, points); // read first: `out` may be `in`
        P low[4], high[4], next[4];
#pragma GCC unroll 2
        for (int b = 0; b < blocks / 2; b++) {
            for (int k = 0; k < 4; k++) {
                P bin, mirror, partner;
                Layout::loadBins(in, points, b + k * blocks, bin, mirror);
                join(bin, mirror, turnedLeg<Turn::Inverse>(bin, mirror, roots + 16 * b, k), low[k],
                     partner);
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
        for (int k = 0; k < 4; k++) {
            constexpr int kLaneOfLeg[4] = {0, 2, 1, 3};
            high[k] = {V::withFirst(high[k].re, V::broadcast(re[kLaneOfLeg[k]])),
                       V::withFirst(high[k].im, V::broadcast(im[kLaneOfLeg[k]]))};
        }
        finishHigh(out + 8 * (blocks / 2), blocks, high);
    }
    static void finishHigh(double* out, int blocks, P (&x)[4]) {
        butterfly4<Turn::Inverse>(x);
        storeLegs(out, blocks, x);
    }
    template <class Layout, class Size>
    static P middleInverse(const CTransformTables& t, const double* in, Size points) {
        P z, partner;
        const P bin = Layout::loadMiddle(in, points);
        const P mirror = {bin.re.reversed(), bin.im.reversed()};
        join(bin, mirror, turnedLeg<Turn::Inverse>(bin, mirror, t.middleTwiddles, 0), z, partner);
        return z;
    }
    template <class Layout>
    static void splitInverseSmall(const CTransformTables& t, const double* in, double* out) {
        P x[4], partner[2], middle, ignored;
        const P centre = Layout::loadMiddle(in, 16);
        for (int k = 0; k < 2; k++) {
            P bin, mirror;
            Layout::loadBins(in, 16, k, bin, mirror);
            join(bin, mirror, turnedLeg<Turn::Inverse>(bin, mirror, t.splitTwiddles, k), x[k],
                 partner[k]);
        }
        join(centre, centre, turnedLeg<Turn::Inverse>(centre, centre, t.middleTwiddles, 0), middle,
             ignored);
        // Points 12 and 8, lane 0 of legs 3 and 2: the partner of leg 1's lane 0 and the middle.
        x[3] = {V::withFirst(partner[0].re.unmirrored(), partner[1].re),
                V::withFirst(partner[0].im.unmirrored(), partner[1].im)};
        x[2] = {V::withFirst(partner[1].re.unmirrored(), middle.re),
                V::withFirst(partner[1].im.unmirrored(), middle.im)};
        butterfly4<Turn::Inverse>(x);
        storeLegs(out, 1, x);
    }
};

/// The packed spectrum of the service's border. Blocks of bins M - 4 * block and downwards go value
/// by value in pairs of 16 bytes: that turns them round on the way, and no access crosses a cache
/// line.
template <class V>
struct CPackedLayout {
    using P = CPoints<V>;

    /// bin: bins 4 * block to 4 * block + 3; mirror: bins M - 4 * block down to M - 4 * block - 3.
    /// The mirror of bin 0 is bin N / 2, whose value is kept beside that of bin 0.
    static void storeBins(double* out, int points, int block, P bin, P mirror) {
        double* const top = out + 2 * points - 8 * block;
        V::storePoints(block > 0 ? top : out, top - 2, -2, mirror.re, mirror.im);
        if (block == 0) bin.im = V::withFirst(bin.im, mirror.re);
        V::storePairs(out + 8 * block, bin.re, bin.im);
    }
    static void loadBins(const double* in, int points, int block, P& bin, P& mirror) {
        const double* const top = in + 2 * points - 8 * block;
        V::loadPairs(in + 8 * block, bin.re, bin.im);
        V::loadPoints(block > 0 ? top : in, top - 2, -2, mirror.re, mirror.im);
        if (block > 0) return;
        const V zero = V::broadcast(0.0);
        mirror = {V::withFirst(mirror.re, bin.im), V::withFirst(mirror.im, zero)};
        bin.im = V::withFirst(bin.im, zero);
    }
    /// Bins s / 2 + k s; when M is 16, bin M / 2 alone, in lane 0.
    static void storeMiddle(double* out, int points, P bin) {
        double* const place = out + points / 4;
        if (points > 16)
            V::storePoints(place, place + points / 2, points / 2, bin.re, bin.im);
        else
            V::storePoint(out + points, bin.re, bin.im);
    }
    static P loadMiddle(const double* in, int points) {
        P bin;
        const double* const place = in + points / 4;
        if (points > 16)
            V::loadPoints(place, place + points / 2, points / 2, bin.re, bin.im);
        else
            V::loadPoints(in + points, in + points, 0, bin.re, bin.im);
        return bin;
    }
};

/// The blocked spectrum: what the split pass makes, stored as it is. A few bins stand twice, which
/// costs nothing and lets the products run over the whole array without a special case.
template <class V>
struct CBlockedLayout {
    using P = CPoints<V>;

    static void storeBins(double* out, int points, int block, P bin, P mirror) {
        bin.store(out + 8 * block);
        mirror.store(out + 8 * (points / 4 - 1 - block));
    }
    static void loadBins(const double* in, int points, int block, P& bin, P& mirror) {
        bin = P::load(in + 8 * block);
        mirror = P::load(in + 8 * (points / 4 - 1 - block));
    }
    static void storeMiddle(double* out, int points, P bin) { bin.store(out + 2 * points); }
    static P loadMiddle(const double* in, int points) { return P::load(in + 2 * points); }
};

} // namespace lum
