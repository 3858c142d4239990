#pragma once

#include "Audio/Processes/CDSPConvStage.h"

#include <memory>

namespace lum {

class CKernelPartitions;

/// Convolution of one channel with a kernel, as an ordered list of stages. Delay: the block size of
/// the first stage. All channels with one kernel share its spectra. Audio thread or set-up; the
/// memory comes from the block pool.
class CDSPConvolver : public CLumMemAllocator {
public:
    /// sharedKernel: outlives the convolver, and keeps its shape; after a change of its taps the
    /// convolver wants a reset.
    CDSPConvolver(CSampleBlockPool& pool, const CKernelPartitions& sharedKernel);
    /// Divides and transforms a kernel of its own.
    CDSPConvolver(CSampleBlockPool& pool, int minBlock, const double* kernel, int kernelLength);
    ~CDSPConvolver();

    void requestReset() LUM_REALTIME;
    /// Goes on where a convolver of a kernel of the same shape is.
    void takeHistory(const CDSPConvolver& other) LUM_REALTIME;
    /// in, out: [count] samples, different arrays. Without stages the output is silence.
    void process(const double* in, double* out, int count) LUM_REALTIME;
    int getStageCount() const { return stages.ssize(); }

private:
    void makeStages(CSampleBlockPool& pool, const CKernelPartitions& kernel);

    std::unique_ptr<CKernelPartitions> ownKernel; // null: somebody else's is used
    CVector<CDSPConvStage, 2> stages;
};

} // namespace lum
