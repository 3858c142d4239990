#pragma once

#include "Core/CLumMemAllocator.h"

#include <memory>

namespace lum {

/// One inner pass: butterflies of `radix` legs that stand `blocks * groups` blocks of four points
/// apart; group p turns leg k by the root (k * p) of a transform of radix * groups points.
struct CTransformPass {
    int radix = 0;                    // 4 or 8
    int groups = 0;                   // butterflies with a turn of their own
    int blocks = 0;                   // blocks of four points that share one turn
    const double* twiddles = nullptr; // [groups][radix - 1][real, imaginary]
};

/// The passes of one order. The N real samples are taken as M = N / 2 complex points. The passes
/// are self-sorting: the time pass (which also takes the samples apart into real and imaginary
/// parts), the inner passes, and the split pass (radix 4 without turns, joined with the separation
/// of the spectrum of the even and the odd samples). The inverse runs the same passes backwards.
struct CTransformPlan {
    static constexpr int kMinOrder = 5;
    static constexpr int kMaxOrder = 17;
    static constexpr int kMaxPasses = 4;

    int points = 0; // M
    int timeRadix = 0;
    int passCount = 0; // 0 at order 5, 3 at order 13
    CTransformPass passes[kMaxPasses];

    static constexpr CTransformPlan of(int order);

private:
    struct CRadices {
        int time;
        int inner[kMaxPasses];
    };
    /// Measured; together with the radix 4 of the split pass a row multiplies up to M.
    static constexpr CRadices kRadices[kMaxOrder - kMinOrder + 1] = {
        {4, {}},           // order 5
        {8, {}},           // order 6
        {4, {4}},          // order 7
        {4, {8}},          // order 8
        {8, {8}},          // order 9
        {4, {8, 4}},       // order 10
        {4, {8, 8}},       // order 11
        {8, {8, 8}},       // order 12
        {4, {4, 8, 8}},    // order 13
        {4, {8, 8, 8}},    // order 14
        {8, {8, 8, 8}},    // order 15
        {4, {4, 8, 8, 8}}, // order 16
        {4, {8, 8, 8, 8}}, // order 17
    };
};

constexpr CTransformPlan CTransformPlan::of(int order) {
    const CRadices& radices = kRadices[order - kMinOrder];
    CTransformPlan plan;
    plan.points = 1 << (order - 1);
    plan.timeRadix = radices.time;
    int stride = radices.time;
    for (int radix : radices.inner) {
        if (radix == 0) break;
        CTransformPass& pass = plan.passes[plan.passCount++];
        pass.radix = radix;
        pass.blocks = stride / 4;
        pass.groups = plan.points / (stride * radix);
        stride *= radix;
    }
    return plan;
}

class CCircle;

/// What the transforms of one order share: the plan and its roots of unity. Made on first use of
/// the order, read-only afterwards, kept to the end of the process.
struct CTransformTables : public CTransformPlan, public CLumMemAllocator {
    /// The tables of an order, made on first call. Control threads, or the audio thread outside a
    /// block; takes a lock.
    static const CTransformTables& get(int order);
    /// Frees the tables of all orders. For the unloading of the module.
    static void releaseAll();

    int order = 0;
    const double* timeTwiddles = nullptr;   // [M / 4R][legs 1 to R - 1][4 real, 4 imaginary]
    const double* splitTwiddles = nullptr;  // [max(M / 32, 1)][legs 0 and 1][4 real, 4 imaginary]
    const double* middleTwiddles = nullptr; // [4 real, 4 imaginary], see splitForward

    ~CTransformTables();

private:
    explicit CTransformTables(int order);
    double* fillTime(double* place, const CCircle& circle);
    double* fillPasses(double* place, const CCircle& circle);
    void fillSplit(double* place, const CCircle& circle);

    void* memory = nullptr;
};

} // namespace lum
