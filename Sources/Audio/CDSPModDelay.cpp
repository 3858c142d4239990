#include "Audio/CDSPModDelay.h"

#include "Audio/Processes/SampleOps.h"

#include <algorithm>
#include <cmath>

namespace lum {

CDSPModDelay::CDSPModDelay(CSampleBlockPool& blockPool, int initialDelay, int fadeSamples,
                           bool useFirstSample)
    : pool(blockPool),
      delay(initialDelay),
      newDelay(initialDelay),
      pendingDelay(initialDelay),
      fadeLength(std::max(fadeSamples, 1)),
      isFillMode(useFirstSample) {
    ring.resize(static_cast<size_t>(slotCountFor(delay)));
}

void CDSPModDelay::process(const double* in, double* out, int count) LUM_REALTIME {
    if (count <= 0) return;
    if (isFirst) {
        // A line that grows later fills up with it again, so it has to be a number.
        fillValue = isFillMode && std::isfinite(in[0]) ? in[0] : 0.0;
        isFirst = false;
        fillRing();
    }
    while (count > 0) {
        if (fadeLeft == 0 && pendingDelay != delay) startFade();
        int chunk = chunkLength(count);
        writeChunk(in, chunk); // before the read, so that in and out may be one array
        (this->*runChunk)(out, chunk);
        advance(chunk);
        in += chunk;
        if (out) out += chunk;
        count -= chunk;
    }
}

void CDSPModDelay::setDelay(int samples) LUM_REALTIME {
    pendingDelay = samples;
    if (!isFirst) return; // nothing to cross from before the first sample
    reset();
}

void CDSPModDelay::reset() LUM_REALTIME {
    delay = pendingDelay;
    ring.clear();
    ring.resize(static_cast<size_t>(slotCountFor(delay)));
    position = 0;
    fadeLeft = 0;
    runChunk = &CDSPModDelay::copyChunk;
    isFirst = true;
}

/// Blocks that keep a read of one chunk clear of the write.
int CDSPModDelay::slotCountFor(int samples) {
    return (kBlockSize + samples + kChunkLimit - 1) / kBlockSize;
}

/// The longest chunk that crosses no ring block on either side and no end of a fade.
int CDSPModDelay::chunkLength(int left) const LUM_REALTIME {
    int chunk = std::min({left, kChunkLimit, runToBlockEnd(0), runToBlockEnd(delay)});
    return fadeLeft > 0 ? std::min({chunk, fadeLeft, runToBlockEnd(newDelay)}) : chunk;
}

int CDSPModDelay::runToBlockEnd(int samplesBack) const LUM_REALTIME {
    int length = ring.ssize() * kBlockSize;
    return kBlockSize - (position - samplesBack + length) % length % kBlockSize;
}

/// Gives every slot without a block one of fill values. All at once, so that no block is taken
/// from the pool in the middle of a stream.
void CDSPModDelay::fillRing() LUM_REALTIME {
    for (CSampleBlockRef& block : ring) {
        if (block) continue;
        block = pool.take(kBlockSize);
        ops::fill(block.samples(), fillValue, kBlockSize);
    }
}

void CDSPModDelay::writeChunk(const double* in, int count) LUM_REALTIME {
    ops::copy(samplesAt(0), in, count);
}

void CDSPModDelay::copyChunk(double* out, int count) LUM_REALTIME {
    if (out) ops::copy(out, samplesAt(delay), count);
}

void CDSPModDelay::fadeChunk(double* out, int count) LUM_REALTIME {
    if (out)
        fade.mix(out, samplesAt(delay), samplesAt(newDelay), count);
    else
        fade.skip(count);
    fadeLeft -= count;
}

double* CDSPModDelay::samplesAt(int samplesBack) LUM_REALTIME {
    int length = ring.ssize() * kBlockSize;
    int from = (position - samplesBack + length) % length;
    return ring[from / kBlockSize].samples() + from % kBlockSize;
}

void CDSPModDelay::advance(int count) LUM_REALTIME {
    position += count;
    if (position == ring.ssize() * kBlockSize) position = 0;
    if (runChunk == &CDSPModDelay::fadeChunk && fadeLeft == 0) finishFade();
}

void CDSPModDelay::startFade() LUM_REALTIME {
    newDelay = pendingDelay;
    int slots = slotCountFor(std::max(delay, newDelay));
    if (slots > ring.ssize()) growRing(slots);
    fade.start(fadeLength);
    fadeLeft = fadeLength;
    runChunk = &CDSPModDelay::fadeChunk;
}

void CDSPModDelay::finishFade() LUM_REALTIME {
    delay = newDelay;
    runChunk = &CDSPModDelay::copyChunk;
    int slots = slotCountFor(delay);
    if (slots < ring.ssize()) shrinkRing(slots);
}

/// Adds slots between the newest sample and the oldest. The oldest samples share the write block
/// with the newest ones; they move to the last of the new slots, where their age is unchanged.
void CDSPModDelay::growRing(int slotCount) LUM_REALTIME {
    int slot = position / kBlockSize;
    int offset = position % kBlockSize;
    int added = slotCount - ring.ssize();
    for (int i = 0; i < added; i++) ring.insert(static_cast<size_t>(slot + 1), CSampleBlockRef());
    fillRing();
    double* oldest = ring[slot].samples() + offset;
    ops::copy(ring[slot + added].samples() + offset, oldest, kBlockSize - offset);
    ops::fill(oldest, fillValue, kBlockSize - offset);
}

/// Takes the oldest slots out; the rest of the write block takes over what now is the oldest.
void CDSPModDelay::shrinkRing(int slotCount) LUM_REALTIME {
    while (ring.ssize() > slotCount) {
        int slot = position / kBlockSize;
        int offset = position % kBlockSize;
        int next = (slot + 1) % ring.ssize();
        ops::copy(ring[slot].samples() + offset, ring[next].samples() + offset,
                  kBlockSize - offset);
        ring.erase(static_cast<size_t>(next));
        if (next < slot) position -= kBlockSize;
    }
}

} // namespace lum
