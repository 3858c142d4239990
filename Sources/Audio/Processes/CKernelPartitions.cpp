#include "Audio/Processes/CKernelPartitions.h"

#include "Audio/Processes/CPartitionPlan.h"
#include "Audio/Processes/SampleArena.h"
#include "Audio/Transform/CFFTPlan.h"

#include <algorithm>

namespace lum {

namespace {

/// The taps stand in the lower half of the transform, so that the lower half of a product is the
/// linear convolution. The transforms' factor N goes into the taps. time: [2 * B], scratch.
void transformPartition(CFFTPlan& plan, const double* taps, int count, double* time,
                        double* spectrum) {
    std::fill_n(time, plan.getSize(), 0.0);
    for (int i = 0; i < count; i++) time[i] = taps[i] * plan.getScale();
    plan.forwardBlocked(time, time + plan.getSize() / 2, spectrum);
}

} // namespace

CKernelPartitions::~CKernelPartitions() {
    releasePlans();
}

void CKernelPartitions::releasePlans() {
    for (const CStagePartitions& stage : stages) CFFTPlan::release(stage.plan);
    stages.clear();
}

bool CKernelPartitions::fill(CSampleBlockPool& pool, int minBlock, const double* kernel,
                             int length) {
    const CPartitionPlan plan = CPartitionPlan::find(minBlock, length);
    const bool isSameShape = hasShape(plan);
    if (!isSameShape) shape(pool, plan);
    const double* const end = kernel + length;
    for (CStagePartitions& stage : stages) {
        const CSampleBlockRef time = pool.take(2 * stage.block);
        for (int j = 0; j < stage.partitions; j++, kernel += stage.block)
            transformPartition(
                *stage.plan, kernel,
                static_cast<int>(std::clamp<ptrdiff_t>(end - kernel, 0, stage.block)),
                time.samples(), stage.spectra[j]);
        stage.dcFrom[stage.partitions] = 0.0;
        for (int j = stage.partitions - 1; j >= 0; j--)
            stage.dcFrom[j] = stage.dcFrom[j + 1] + stage.spectra[j][0];
    }
    return isSameShape;
}

bool CKernelPartitions::hasShape(const CPartitionPlan& plan) const {
    return std::equal(stages.begin(), stages.end(), plan.stages.begin(), plan.stages.end(),
                      [](const CStagePartitions& stage, const CPartitionPlan::CStage& planned) {
                          return stage.block == CPartitionPlan::blockOf(planned.level) &&
                                 stage.partitions == planned.partitions;
                      });
}

bool CKernelPartitions::isShapedLike(const CKernelPartitions& other) const {
    return std::equal(stages.begin(), stages.end(), other.stages.begin(), other.stages.end(),
                      [](const CStagePartitions& a, const CStagePartitions& b) {
                          return a.block == b.block && a.partitions == b.partitions;
                      });
}

void CKernelPartitions::shape(CSampleBlockPool& pool, const CPartitionPlan& plan) {
    releasePlans();
    memory.reset();
    stages.reserve(plan.stages.size());
    for (const CPartitionPlan::CStage& planned : plan.stages) {
        CStagePartitions& stage = stages.emplace_back();
        stage.block = CPartitionPlan::blockOf(planned.level);
        stage.partitions = planned.partitions;
        stage.plan = CFFTPlan::acquire(CPartitionPlan::orderOf(planned.level));
    }
    memory = takeArena(pool, [this](CSampleArena& arena) {
        for (CStagePartitions& stage : stages) {
            const int bins = stage.plan->blockedSize();
            stage.spectra = arena.pointers(stage.partitions);
            stage.dcFrom = arena.values(stage.partitions + 1);
            stage.product = arena.values(bins);
            for (int j = 0; j < stage.partitions; j++) {
                double* spectrum = arena.values(bins);
                if (stage.spectra) stage.spectra[j] = spectrum;
            }
        }
    });
}

} // namespace lum
