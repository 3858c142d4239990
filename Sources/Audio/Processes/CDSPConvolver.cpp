#include "Audio/Processes/CDSPConvolver.h"

#include "Audio/Processes/CKernelPartitions.h"

#include <algorithm>

namespace lum {

CDSPConvolver::CDSPConvolver(CSampleBlockPool& pool, const CKernelPartitions& sharedKernel) {
    makeStages(pool, sharedKernel);
}

CDSPConvolver::CDSPConvolver(CSampleBlockPool& pool, int minBlock, const double* taps,
                             int kernelLength)
    : ownKernel(new CKernelPartitions) {
    ownKernel->fill(pool, minBlock, taps, kernelLength);
    makeStages(pool, *ownKernel);
}

CDSPConvolver::~CDSPConvolver() = default;

void CDSPConvolver::makeStages(CSampleBlockPool& pool, const CKernelPartitions& kernel) {
    stages.reserve(kernel.getStages().size());
    for (const CStagePartitions& stage : kernel.getStages())
        stages.emplace_back(
            pool, stage, stages.empty() ? CDSPConvStage::Output::Copy : CDSPConvStage::Output::Add);
}

void CDSPConvolver::requestReset() {
    for (CDSPConvStage& stage : stages) stage.requestReset();
}

void CDSPConvolver::takeHistory(const CDSPConvolver& other) {
    for (int i = 0; i < stages.ssize(); i++) stages[i].takeHistory(other.stages[i]);
}

void CDSPConvolver::process(const double* in, double* out, int count) {
    if (stages.empty()) std::fill_n(out, count, 0.0);
    for (CDSPConvStage& stage : stages) stage.process(in, out, count);
}

} // namespace lum
