#pragma once

#include "Audio/CSampleBlock.h"

namespace lum {

struct CStagePartitions;

/// Convolution of one channel with one stage of a kernel, in blocks of B samples by overlap-save.
/// Partition j lags by j blocks: the stage keeps the spectra of the last blocks and sums all
/// products at a block's end. The output lags the input by exactly B samples, however the stream is
/// divided into calls. Audio thread.
class CDSPConvStage {
public:
    enum class Output { Copy, Add };

    /// kernel: outlives the stage.
    CDSPConvStage(CSampleBlockPool& pool, const CStagePartitions& kernel, Output output);

    /// Forgets the past at the next sample, whose value then counts as the constant past.
    void requestReset() { needsReset = true; }
    /// Goes on where a stage of the same shape is, as if this one had had its input all along.
    void takeHistory(const CDSPConvStage& other) LUM_REALTIME;
    /// in, out: [count] samples; a count of 0 changes nothing.
    void process(const double* in, double* out, int count) LUM_REALTIME;

private:
    void reset(double firstSample) LUM_REALTIME;
    void passSamples(const double* in, double* out, int count) LUM_REALTIME;
    void completeBlock() LUM_REALTIME;
    void playBlock() LUM_REALTIME;

    const CStagePartitions& kernel;
    Output output;
    bool needsReset = true;
    int block;                  // B
    int remaining;              // samples until the block is complete
    double historyScale = 0.0;  // DC bin of a block of the constant past
    int newest = 0;             // ring[newest + j] is the spectrum of j blocks ago
    int known = 0;              // spectra since the reset; earlier ones are the constant
    CSampleBlockRef memory;     // of what follows
    double* gathered = nullptr; // [B]: the block under way
    double* before = nullptr;   // [B]: the block before it; the two change places
    double* current = nullptr;  // [2 * B]: the lower half is being played out, see inverseBlocked
    double** ring = nullptr;    // [2 * P]: the spectra of past input blocks twice in a row
};

} // namespace lum
