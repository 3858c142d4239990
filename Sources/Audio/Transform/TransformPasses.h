#pragma once

#include "Audio/Transform/TransformPoints.h"
#include "Audio/Transform/TransformTables.h"

#include <cstddef>
#include <type_traits>
#include <utility>

/// The passes of the real transform, written once for any type P of four complex points; CPoints
/// (TransformPoints.h) is the pattern. An instruction set's file brings its P and takes the
/// functions of CTransform<P>. All private arrays are blocks of four points, 8 values, in the form
/// of P::load and P::store.
namespace lum {

/// A size that is known when the code is compiled. A pass takes its sizes as int or as one of
/// these: constants make the offsets part of the instructions and short loops straight code.
template <int Value>
using CSize = std::integral_constant<int, Value>;

/// FixedOrders: how many orders, from the lowest on, have code of their own with constant sizes. It
/// takes a fifth fewer instructions than the code that the other orders share.
template <class P, int FixedOrders>
struct CTransform {
    using Roots = typename P::Roots;

    // Public steps ------------------------------------------------------------------------------

    template <class Layout>
    static void forward(const CTransformTables& t, const double* in, double* out, double* work) {
        forwardHalves<Layout>(t, in, in + t.points, out, work);
    }
    /// lower, upper: the halves of the samples.
    template <class Layout>
    static void forwardHalves(const CTransformTables& t, const double* lower, const double* upper,
                              double* out, double* work) {
        const bool isDone = withFixedOrder(
            t.order, [&](auto order) { forwardFixed<Layout, order>(t, lower, upper, out, work); });
        if (isDone) return;
        t.timeRadix == 4 ? timeForward<4>(t.timeTwiddles, lower, upper, work, t.points)
                         : timeForward<8>(t.timeTwiddles, lower, upper, work, t.points);
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
        t.timeRadix == 4 ? timeInverse<Layout, 4>(t.timeTwiddles, work, out, t.points)
                         : timeInverse<Layout, 8>(t.timeTwiddles, work, out, t.points);
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
    forwardFixed(const CTransformTables& t, const double* lower, const double* upper, double* out,
                 double* work) {
        constexpr CTransformPlan plan = CTransformPlan::of(Order);
        constexpr CSize<plan.points> points;
        timeForward<plan.timeRadix>(t.timeTwiddles, lower, upper, work, points);
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
        timeInverse<Layout, plan.timeRadix>(t.timeTwiddles, work, out, points);
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

    template <Turn turn>
    static void butterfly4(P (&x)[4]) {
        const P s02 = x[0] + x[2], d02 = x[0] - x[2];
        const P s13 = x[1] + x[3], d13 = x[1] - x[3];
        x[0] = s02 + s13;
        x[2] = s02 - s13;
        x[1] = P::template plusQuarter<turn>(d02, d13);
        x[3] = P::template plusQuarter<opposite(turn)>(d02, d13);
    }
    template <Turn turn>
    static void butterfly8(P (&x)[8]) {
        P even[4] = {x[0] + x[4], x[1] + x[5], x[2] + x[6], x[3] + x[7]};
        const P odd[4] = {x[0] - x[4], x[1] - x[5], x[2] - x[6], x[3] - x[7]};
        butterfly4<turn>(even);
        x[0] = even[0];
        x[2] = even[1];
        x[4] = even[2];
        x[6] = even[3];
        // The odd half is turned by the eighths of the circle before its butterfly: odd[1] becomes
        // h * one and odd[3] becomes -h * three.
        constexpr Turn back = opposite(turn);
        constexpr double h = 0.70710678118654752440;
        const P one = P::template plusQuarter<turn>(odd[1], odd[1]);
        const P three = P::template plusQuarter<back>(odd[3], odd[3]);
        const P sum = one - three, dif = one + three;
        const P s02 = P::template plusQuarter<turn>(odd[0], odd[2]);
        const P d02 = P::template plusQuarter<back>(odd[0], odd[2]);
        x[1] = P::plusScaled(s02, h, sum);
        x[5] = P::minusScaled(s02, h, sum);
        x[3] = P::template plusScaledQuarter<turn>(d02, h, dif);
        x[7] = P::template plusScaledQuarter<back>(d02, h, dif);
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
    static void timeForward(const double* w, const double* lower, const double* upper, double* out,
                            Size points) {
        const int leg = points / Radix;
        for (int p = 0; p < leg; p += 4, w += 8 * (Radix - 1)) {
            P x[Radix];
            for (int j = 0; j < Radix / 2; j++) {
                x[j] = P::loadPairs(lower + 2 * (p + j * leg));
                x[j + Radix / 2] = P::loadPairs(upper + 2 * (p + j * leg));
            }
            butterfly<Turn::Forward>(x);
            for (int k = 1; k < Radix; k++) x[k] = turned<Turn::Forward>(x[k], w + 8 * (k - 1));
            double* place = out + 2 * Radix * p;
            for (int k = 0; k < Radix; k += 4, place += 8)
                P::template storeTransposed<2 * Radix>(place, x + k);
        }
    }
    template <class Layout, int Radix, class Size>
    static void timeInverse(const double* w, const double* in, double* out, Size points) {
        const int leg = points / Radix;
        for (int p = 0; p < leg; p += 4, w += 8 * (Radix - 1)) {
            P x[Radix];
            const double* place = in + 2 * Radix * p;
            for (int k = 0; k < Radix; k += 4, place += 8)
                P::template loadTransposed<2 * Radix>(place, x + k);
            for (int k = 1; k < Radix; k++) x[k] = turned<Turn::Inverse>(x[k], w + 8 * (k - 1));
            butterfly<Turn::Inverse>(x);
            constexpr int kKept = Layout::kIsLowerHalfEnough ? Radix / 2 : Radix;
            for (int j = 0; j < kKept; j++) x[j].storePairs(out + 2 * (p + j * leg));
        }
    }
    /// Four points by the four roots of a block.
    template <Turn turn>
    static P turned(P a, const double* roots) {
        return a.template times<turn>(P::loadRoots(roots));
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
        return a.template times<turn>(P::broadcastRoot(root));
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
        const P sum = P::plusConjugate(z, partner);
        bin = P::plusScaled(turned, 0.5, sum);
        mirror = P::conjugateOfHalfMinus(sum, turned);
    }
    /// The way back, giving twice the points.
    static void join(P bin, P mirror, P turned, P& z, P& partner) {
        const P sum = P::plusConjugate(bin, mirror);
        z = P::plusScaled(sum, 2.0, turned);
        partner = P::conjugateOfMinusTwice(sum, turned);
    }
    /// The difference of leg k turned by the roots of a block; those of legs 2 and 3 are -i times
    /// those of legs 0 and 1.
    template <Turn turn>
    static P turnedLeg(P z, P partner, const double* roots, int leg) {
        const Roots root = P::loadRoots(roots + 8 * (leg & 1));
        const P dif = P::minusConjugate(z, partner);
        return leg < 2 ? dif.template times<turn>(root)
                       : dif.template times<opposite(turn)>(Roots{root.im, root.re});
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
                const P partner = P::mirrored(high[3 - k], last[3 - k]);
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
        const P z = P::gatherFirst(legs);
        const P partner = z.reversed();
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
            const P partner = P::mirrored(x[3 - k], x[(4 - k) & 3]);
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
                if (b > 0) high[3 - k] = P::withFirst(high[3 - k], partner);
                next[3 - k] = partner.unmirrored();
            }
            if (b > 0) finishHigh(out + 8 * (blocks - b), blocks, high);
            butterfly4<Turn::Inverse>(low);
            storeLegs(out + 8 * b, blocks, low);
            for (int k = 0; k < 4; k++) high[k] = next[k];
        }
        middle.scatterFirst(high);
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
        const P mirror = bin.reversed();
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
        x[3] = P::withFirst(partner[0].unmirrored(), partner[1]);
        x[2] = P::withFirst(partner[1].unmirrored(), middle);
        butterfly4<Turn::Inverse>(x);
        storeLegs(out, 1, x);
    }
};

/// The packed spectrum of the service's border. Blocks of bins M - 4 * block and downwards go value
/// by value in pairs of 16 bytes: that turns them round on the way, and no access crosses a cache
/// line.
template <class P>
struct CPackedLayout {
    static constexpr bool kIsLowerHalfEnough = false;

    /// bin: bins 4 * block to 4 * block + 3; mirror: bins M - 4 * block down to M - 4 * block - 3.
    /// The mirror of bin 0 is bin N / 2, whose value is kept beside that of bin 0.
    static void storeBins(double* out, int points, int block, P bin, P mirror) {
        double* const top = out + 2 * points - 8 * block;
        mirror.storePoints(block > 0 ? top : out, top - 2, -2);
        if (block == 0) bin = P::withEndsJoined(bin, mirror);
        bin.storePairs(out + 8 * block);
    }
    static void loadBins(const double* in, int points, int block, P& bin, P& mirror) {
        const double* const top = in + 2 * points - 8 * block;
        bin = P::loadPairs(in + 8 * block);
        mirror = P::loadPoints(block > 0 ? top : in, top - 2, -2);
        if (block == 0) P::partEnds(bin, mirror);
    }
    /// Bins s / 2 + k s; when M is 16, bin M / 2 alone, in lane 0.
    static void storeMiddle(double* out, int points, P bin) {
        double* const place = out + points / 4;
        if (points > 16)
            bin.storePoints(place, place + points / 2, points / 2);
        else
            bin.storeFirst(out + points);
    }
    static P loadMiddle(const double* in, int points) {
        const double* const place = in + points / 4;
        return points > 16 ? P::loadPoints(place, place + points / 2, points / 2)
                           : P::loadPoints(in + points, in + points, 0);
    }
};

/// The blocked spectrum: what the split pass makes, stored as it is. A few bins stand twice, which
/// costs nothing and lets the products run over the whole array without a special case. Of the
/// samples overlap-save wants the lower half.
template <class P>
struct CBlockedLayout {
    static constexpr bool kIsLowerHalfEnough = true;

    static void storeBins(double* out, int points, int block, P bin, P mirror) {
        bin.storeBlock(out + 8 * block);
        mirror.storeBlock(out + 8 * (points / 4 - 1 - block));
    }
    static void loadBins(const double* in, int points, int block, P& bin, P& mirror) {
        bin = P::loadBlock(in + 8 * block);
        mirror = P::loadBlock(in + 8 * (points / 4 - 1 - block));
    }
    static void storeMiddle(double* out, int points, P bin) { bin.storeBlock(out + 2 * points); }
    static P loadMiddle(const double* in, int points) { return P::loadBlock(in + 2 * points); }
};

} // namespace lum
