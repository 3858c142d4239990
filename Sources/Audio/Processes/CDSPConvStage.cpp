#include "Audio/Processes/CDSPConvStage.h"

#include "Audio/Processes/CKernelPartitions.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/VectorCode.h"

#include <algorithm>

namespace lum {

CDSPConvStage::CDSPConvStage(CSampleBlockPool& pool, const CStagePartitions& stageKernel,
                             Output stageOutput)
    : kernel(stageKernel),
      output(stageOutput),
      block(stageKernel.block),
      remaining(stageKernel.block),
      window(pool.take(2 * block)),
      current(pool.take(2 * block)) {
    const size_t partitions = static_cast<size_t>(kernel.partitions());
    spectra.reserve(partitions);
    ring.resize(2 * partitions, nullptr);
    for (size_t j = 0; j < partitions; j++) {
        spectra.push_back(pool.take(kernel.plan->blockedSize()));
        ring[j] = ring[j + partitions] = spectra.back().samples();
    }
}

void CDSPConvStage::process(const double* in, double* out, int count) {
    if (count <= 0) return;
    if (needsReset) reset(in[0]);
    while (count > 0) {
        const int part = std::min(remaining, count);
        passSamples(in, out, part);
        remaining -= part;
        if (remaining == 0) completeBlock();
        in += part;
        out += part;
        count -= part;
    }
}

/// The past becomes a constant: the block before, the output under way, and, by `known`, all
/// spectra. A constant's spectrum is its value times N in bin 0.
void CDSPConvStage::reset(double firstSample) {
    historyScale = firstSample * kernel.plan->getSize();
    std::fill_n(window.samples() + block, block, firstSample);
    std::fill_n(current.samples(), block, historyScale * kernel.dcFrom[0]);
    remaining = block;
    newest = 0;
    known = 0;
    needsReset = false;
}

void CDSPConvStage::passSamples(const double* in, double* out, int count) {
    const int at = block - remaining;
    std::copy_n(in, count, window.samples() + at);
    const double* ready = current.samples() + at;
    if (output == Output::Copy)
        std::copy_n(ready, count, out);
    else
        for (int i = 0; i < count; i++) out[i] += ready[i];
}

void CDSPConvStage::completeBlock() {
    const int partitions = kernel.partitions();
    const CFFTPlan& plan = *kernel.plan;
    double* product = kernel.product.samples();
    newest = newest == 0 ? partitions - 1 : newest - 1;
    known = std::min(known + 1, partitions);

    kernel.plan->forwardBlocked(window.samples(), const_cast<double*>(ring[newest]));
    vectorCode().sumProducts(ring.data() + newest, kernel.pointers.data(), known, product,
                             plan.blockedSize());
    product[0] +=
        historyScale * kernel.dcFrom[known]; // blocks before the reset; 0 once all are known
    kernel.plan->inverseBlocked(product, current.samples());

    std::copy_n(window.samples(), block, window.samples() + block);
    remaining = block;
}

} // namespace lum
