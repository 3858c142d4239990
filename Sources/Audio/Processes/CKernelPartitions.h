#pragma once

#include "Audio/CSampleBlock.h"

namespace lum {

class CFFTPlan;
struct CPartitionPlan;

/// The kernel's part of one stage: its partitions as blocked spectra, scaled by 1 / N, and what the
/// stages of all channels use in turn, the transform and an array for its results. The arrays lie
/// in the kernel's memory.
struct CStagePartitions {
    int block = 0;              // B, samples
    int partitions = 0;         // P
    CFFTPlan* plan = nullptr;   // of size N = 2 * B
    double** spectra = nullptr; // [P] blocked spectra
    /// dcFrom[j]: sum of the DC bins of the partitions from j on; dcFrom[0] is the stage's part of
    /// the kernel's gain for a constant, divided by N.
    double* dcFrom = nullptr;  // [P + 1]
    double* product = nullptr; // blocked spectrum, between the products and the inverse transform
};

/// A kernel, divided and transformed once, for the convolvers of all channels that have it. It is
/// filled again for each new kernel, and takes memory only for one of another shape. Audio thread
/// or set-up; its memory comes from the block pool.
class CKernelPartitions : public CLumMemAllocator {
public:
    CKernelPartitions() = default;
    ~CKernelPartitions();
    CKernelPartitions(const CKernelPartitions&) = delete;
    CKernelPartitions& operator=(const CKernelPartitions&) = delete;

    /// Takes a kernel, which is read during the call only. kernel: [length] taps. True when the
    /// stages are what they were before, so that convolvers of this kernel need no more than a
    /// reset; else they have to be made anew. Kernels of one length and block have one shape.
    bool fill(CSampleBlockPool& pool, int minBlock, const double* kernel, int length) LUM_REALTIME;

    bool isShapedLike(const CKernelPartitions& other) const;
    const CVector<CStagePartitions, 4>& getStages() const { return stages; }

private:
    bool hasShape(const CPartitionPlan& plan) const;
    void shape(CSampleBlockPool& pool, const CPartitionPlan& plan);
    void releasePlans();

    CVector<CStagePartitions, 4> stages;
    CSampleBlockRef memory;
};

} // namespace lum
