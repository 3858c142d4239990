#pragma once

#include "Core/CLumMemAllocator.h"

#include <memory>

namespace lum {

/// One inner pass: butterflies of `radix` legs that stand `blocks * groups` blocks of four points
/// apart; group p turns leg k by the root (k * p) of a transform of radix * groups points.
struct CTransformPass {
    int radix = 0;                    // 2, 4 or 8
    int groups = 0;                   // butterflies with a turn of their own
    int blocks = 0;                   // blocks of four points that share one turn
    const double* twiddles = nullptr; // [groups][radix - 1][real, imaginary]
};

/// What the transforms of one order share: the list of passes and their roots of unity. Made on
/// first use of the order, read-only afterwards, kept to the end of the process.
///
/// The N real samples are taken as M = N / 2 complex points. The passes are self-sorting: the time
/// pass (radix 4, which also takes the samples apart into real and imaginary parts), the inner
/// passes, and the split pass (radix 4 without turns, joined with the separation of the spectrum of
/// the even and the odd samples). The inverse runs the same passes backwards.
struct CTransformTables : public CLumMemAllocator {
    static constexpr int kMaxPasses = 4;

    /// The tables of an order, made on first call. Control threads, or the audio thread outside a
    /// block; takes a lock.
    static const CTransformTables& get(int order);
    /// Frees the tables of all orders. For the unloading of the module.
    static void releaseAll();

    int points = 0;                         // M
    const double* timeTwiddles = nullptr;   // [M / 16][legs 1 to 3][4 real, 4 imaginary]
    CTransformPass passes[kMaxPasses];      // in forward order
    int passCount = 0;                      // 0 at order 5, 3 at order 13
    const double* splitTwiddles = nullptr;  // [max(M / 32, 1)][legs 0 and 1][4 real, 4 imaginary]
    const double* middleTwiddles = nullptr; // [4 real, 4 imaginary], see splitForward

    ~CTransformTables();

private:
    explicit CTransformTables(int order);
    void planPasses(int bits);
    double* fillTime(double* place);
    double* fillPasses(double* place);
    void fillSplit(double* place);

    void* memory = nullptr;
};

} // namespace lum
