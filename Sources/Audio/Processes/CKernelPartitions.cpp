#include "Audio/Processes/CKernelPartitions.h"

#include "Audio/Processes/CPartitionPlan.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Core/CLumMemAllocator.h"

#include <algorithm>

namespace lum {

std::shared_ptr<const CKernelPartitions>
CKernelPartitions::make(CSampleBlockPool& pool, int minBlock, const double* kernel, int length) {
    return std::allocate_shared<const CKernelPartitions>(CPoolAllocator<CKernelPartitions>(), pool,
                                                         minBlock, kernel, length);
}

CKernelPartitions::CKernelPartitions(CSampleBlockPool& pool, int minBlock, const double* kernel,
                                     int length) {
    const CPartitionPlan plan = CPartitionPlan::find(minBlock, length);
    const double* const end = kernel + length;
    stages.reserve(plan.stages.size());
    for (const CPartitionPlan::CStage& planned : plan.stages) {
        CStagePartitions& stage = stages.emplace_back();
        stage.block = CPartitionPlan::blockOf(planned.level);
        stage.plan = CFFTPlan::acquire(CPartitionPlan::orderOf(planned.level));
        stage.product = pool.take(stage.plan->blockedSize());
        for (int i = 0; i < planned.partitions; i++, kernel += stage.block)
            addPartition(stage, pool, kernel,
                         static_cast<int>(std::clamp<ptrdiff_t>(end - kernel, 0, stage.block)));
        stage.dcFrom.resize(stage.spectra.size() + 1, 0.0);
        for (int j = stage.partitions() - 1; j >= 0; j--)
            stage.dcFrom[j] = stage.dcFrom[j + 1] + stage.spectra[j].samples()[0];
    }
}

CKernelPartitions::~CKernelPartitions() {
    for (const CStagePartitions& stage : stages) CFFTPlan::release(stage.plan);
}

/// The taps stand in the lower half of the transform, so that the lower half of a product is the
/// linear convolution. The transforms' factor N goes into the taps.
void CKernelPartitions::addPartition(CStagePartitions& stage, CSampleBlockPool& pool,
                                     const double* taps, int count) {
    const CSampleBlockRef time = pool.takeZeroed(2 * stage.block);
    const double scale = stage.plan->getScale();
    for (int i = 0; i < count; i++) time.samples()[i] = taps[i] * scale;
    CSampleBlockRef spectrum = pool.take(stage.plan->blockedSize());
    stage.plan->forwardBlocked(time.samples(), spectrum.samples());
    stage.pointers.push_back(spectrum.samples());
    stage.spectra.push_back(std::move(spectrum));
}

} // namespace lum
