#include "Audio/Processes/CDSPConvStage.h"

#include "Audio/Processes/CKernelPartitions.h"
#include "Audio/Processes/SampleArena.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/VectorCode.h"

#include <algorithm>
#include <utility>

namespace lum {

CDSPConvStage::CDSPConvStage(CSampleBlockPool& pool, const CStagePartitions& stageKernel,
                             Output stageOutput)
    : kernel(stageKernel),
      output(stageOutput),
      block(stageKernel.block),
      remaining(stageKernel.block) {
    memory = takeArena(pool, [this](CSampleArena& arena) {
        gathered = arena.values(block);
        before = arena.values(block);
        current = arena.values(2 * block);
        ring = arena.pointers(2 * kernel.partitions);
        for (int j = 0; j < kernel.partitions; j++) {
            double* spectrum = arena.values(kernel.plan->blockedSize());
            if (ring) ring[j] = ring[j + kernel.partitions] = spectrum;
        }
    });
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
    std::fill_n(before, block, firstSample);
    remaining = block;
    newest = 0;
    known = 0;
    needsReset = false;
    playBlock();
}

void CDSPConvStage::passSamples(const double* in, double* out, int count) {
    const int at = block - remaining;
    std::copy_n(in, count, gathered + at);
    const double* ready = current + at;
    if (output == Output::Copy)
        std::copy_n(ready, count, out);
    else
        for (int i = 0; i < count; i++) out[i] += ready[i];
}

void CDSPConvStage::completeBlock() {
    newest = newest == 0 ? kernel.partitions - 1 : newest - 1;
    known = std::min(known + 1, kernel.partitions);
    kernel.plan->forwardBlocked(gathered, before, ring[newest]);
    playBlock();
    std::swap(gathered, before);
    remaining = block;
}

/// Sums all products and plays the result from now on.
void CDSPConvStage::playBlock() {
    if (known == 0) {
        std::fill_n(current, block, historyScale * kernel.dcFrom[0]);
        return;
    }
    CFFTPlan& plan = *kernel.plan;
    double* product = kernel.product;
    vectorCode().sumProducts(ring + newest, kernel.spectra, known, product, plan.blockedSize());
    // Blocks before the reset. Not once all are known: a first sample that was no number would stay
    // in historyScale, and 0 times it is none either.
    if (known < kernel.partitions) product[0] += historyScale * kernel.dcFrom[known];
    plan.inverseBlocked(product, current);
}

void CDSPConvStage::takeHistory(const CDSPConvStage& other) {
    needsReset = other.needsReset;
    if (needsReset) return;
    remaining = other.remaining;
    historyScale = other.historyScale;
    newest = other.newest;
    known = other.known;
    std::copy_n(other.gathered, block, gathered);
    std::copy_n(other.before, block, before);
    for (int j = newest; j < newest + known; j++)
        std::copy_n(other.ring[j], kernel.plan->blockedSize(), ring[j]);
    playBlock();
}

} // namespace lum
