#pragma once

#include "Core/CVector.h"

namespace lum {

/// How a kernel is divided for convolution: stages of growing block size, each with a number of
/// partitions of that size. The stage of block size B(s) starts at tap B(s) - B(first), so that all
/// outputs line up on the delay of the first block.
struct CPartitionPlan {
    static constexpr int kLevels = 11;
    static constexpr int kSmallestBlock = 16; // samples, of level 0; level 10 has 16,384

    struct CStage {
        int level;
        int partitions;
        friend bool operator==(const CStage&, const CStage&) = default;
    };
    static constexpr int blockOf(int level) { return kSmallestBlock << level; }
    static constexpr int orderOf(int level) { return level + 5; } // of its transforms, size 2 * B

    /// The cheapest plan by a table of measured costs. minBlock: samples, the delay that is
    /// allowed; below 16 it counts as 16. A kernel of no taps has no stages. Audio thread or
    /// set-up; no heap.
    static CPartitionPlan find(int minBlock, int kernelLength);

    CVector<CStage, kLevels> stages;
    double cost = 0.0;
};

} // namespace lum
