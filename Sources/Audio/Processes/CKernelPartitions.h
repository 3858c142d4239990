#pragma once

#include "Audio/CSampleBlock.h"

#include <memory>

namespace lum {

class CFFTPlan;

/// The kernel's part of one stage: its partitions as blocked spectra, scaled by 1 / N, and what the
/// stages of all channels use in turn, the transform and a block for its results.
struct CStagePartitions {
    int block = 0;                       // B, samples
    CFFTPlan* plan = nullptr;            // of size N = 2 * B
    CVector<CSampleBlockRef, 8> spectra; // [partitions]
    CVector<const double*, 8> pointers;  // the same, for the product loop
    /// dcFrom[j]: sum of the DC bins of the partitions from j on; dcFrom[0] is the stage's part of
    /// the kernel's gain for a constant, divided by N.
    CVector<double, 8> dcFrom; // [partitions + 1]
    CSampleBlockRef product;   // blocked spectrum, between the products and the inverse transform

    int partitions() const { return spectra.ssize(); }
};

/// A kernel, divided and transformed once, for the convolvers of all channels that have it. Held by
/// them together. Audio thread or set-up; its memory comes from the block pool.
class CKernelPartitions {
public:
    /// kernel: [length] taps, read during construction only.
    CKernelPartitions(CSampleBlockPool& pool, int minBlock, const double* kernel, int length);
    ~CKernelPartitions();
    CKernelPartitions(const CKernelPartitions&) = delete;
    CKernelPartitions& operator=(const CKernelPartitions&) = delete;

    static std::shared_ptr<const CKernelPartitions> make(CSampleBlockPool& pool, int minBlock,
                                                         const double* kernel, int length);

    const CVector<CStagePartitions, 4>& getStages() const { return stages; }

private:
    void addPartition(CStagePartitions& stage, CSampleBlockPool& pool, const double* taps,
                      int count);
    CVector<CStagePartitions, 4> stages;
};

} // namespace lum
