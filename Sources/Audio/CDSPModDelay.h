#pragma once

#include "Audio/CRaisedCosineFade.h"
#include "Audio/CSampleBlock.h"

namespace lum {

/// A delay line whose length changes by a crossfade: what aligns the inputs of a process. Its
/// memory is a ring of blocks out of the pool. What was never written reads as 0, or in fill mode
/// as the very first sample that came in. Audio thread, or set-up.
class CDSPModDelay : public CLumMemAllocator {
public:
    /// initialDelay, fadeSamples: samples.
    CDSPModDelay(CSampleBlockPool& blockPool, int initialDelay, int fadeSamples,
                 bool useFirstSample);

    /// Runs `count` samples; `out` may be `in`, or null while nobody listens.
    void process(const double* in, double* out, int count) LUM_REALTIME;
    /// Asks for another length. It is reached by a crossfade from the next sample on; while a fade
    /// runs, it waits.
    void setDelay(int samples) LUM_REALTIME;
    /// Crosses to another length from the first sample on: for a line that is put into a path that
    /// is already heard without it.
    void crossTo(int samples) LUM_REALTIME { pendingDelay = samples; }
    /// Drops what the line holds and takes the length asked for at once.
    void reset() LUM_REALTIME;
    /// The length asked for last, in samples.
    int getDelay() const { return pendingDelay; }
    bool isFading() const { return fadeLeft > 0; }

private:
    static constexpr int kBlockSize = 1024; // samples of a ring block
    static constexpr int kChunkLimit =
        256; // samples processed at a time, so that no read meets the write

    using CRunChunk = void (CDSPModDelay::*)(double* out, int count);
    static int slotCountFor(int samples);
    int chunkLength(int left) const LUM_REALTIME;
    int runToBlockEnd(int samplesBack) const LUM_REALTIME;
    void writeChunk(const double* in, int count) LUM_REALTIME;
    void copyChunk(double* out, int count) LUM_REALTIME;
    void fadeChunk(double* out, int count) LUM_REALTIME;
    double* samplesAt(int samplesBack) LUM_REALTIME;
    void fillRing() LUM_REALTIME;
    void advance(int count) LUM_REALTIME;
    void startFade() LUM_REALTIME;
    void finishFade() LUM_REALTIME;
    void growRing(int slotCount) LUM_REALTIME;
    void shrinkRing(int slotCount) LUM_REALTIME;

    CSampleBlockPool& pool;
    CVector<CSampleBlockRef, 16> ring; // empty blocks until the first sample
    int position = 0;                  // samples, 0 to ring length - 1: where the next one goes
    int delay = 0;
    int newDelay = 0;     // of the running fade
    int pendingDelay = 0; // asked for last
    int fadeLength;
    int fadeLeft = 0; // samples; 0: no fade runs
    CRaisedCosineFade fade;
    CRunChunk runChunk = &CDSPModDelay::copyChunk;
    double fillValue = 0.0;
    bool isFillMode;
    bool isFirst = true; // nothing came in yet
};

} // namespace lum
