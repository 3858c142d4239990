#include "Audio/Processes/CDSPConvolver.h"

#include "Audio/Processes/CKernelPartitions.h"

#include <algorithm>

namespace lum {

CDSPConvolver::CDSPConvolver(CSampleBlockPool& pool,
                             std::shared_ptr<const CKernelPartitions> sharedKernel)
    : kernel(std::move(sharedKernel)) {
    stages.reserve(kernel->getStages().size());
    for (const CStagePartitions& stage : kernel->getStages())
        stages.emplace_back(
            pool, stage, stages.empty() ? CDSPConvStage::Output::Copy : CDSPConvStage::Output::Add);
}

CDSPConvolver::CDSPConvolver(CSampleBlockPool& pool, int minBlock, const double* taps,
                             int kernelLength)
    : CDSPConvolver(pool, CKernelPartitions::make(pool, minBlock, taps, kernelLength)) {}

void CDSPConvolver::requestReset() {
    for (CDSPConvStage& stage : stages) stage.requestReset();
}

void CDSPConvolver::process(const double* in, double* out, int count) {
    if (stages.empty()) std::fill_n(out, count, 0.0);
    for (CDSPConvStage& stage : stages) stage.process(in, out, count);
}

} // namespace lum
