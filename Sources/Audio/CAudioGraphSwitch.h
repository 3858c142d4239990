#pragma once

#include "Audio/CAudioGraph.h"
#include "Audio/CRaisedCosineFade.h"

#include <atomic>

namespace lum {

/// The graphs of an instance: the one that is heard, and for a moment the one before it. A control
/// thread offers a graph; the audio thread takes it at the head of a block, lets both run on the
/// same input until the new one has its past, and then crosses over by a raised cosine. An offer
/// that comes during a crossfade waits for its end, and only the last one waits. What the audio
/// thread has done with it hands back, and a control thread frees it.
///
/// Control functions are for one thread at a time (the instance's graph lock).
class CAudioGraphSwitch {
public:
    CAudioGraphSwitch() = default;
    ~CAudioGraphSwitch();
    CAudioGraphSwitch(const CAudioGraphSwitch&) = delete;
    CAudioGraphSwitch& operator=(const CAudioGraphSwitch&) = delete;

    // A control thread's.
    /// Hands a prepared graph over.
    void offer(std::unique_ptr<CAudioGraph> graph);
    /// The graph that was made last, null before the first.
    const CAudioGraph* getNewest() const { return newest; }
    /// Frees the graphs that have left.
    void freeLeft();
    bool hasLeft() const { return left.load(std::memory_order_relaxed) != nullptr; }

    // A control thread's, while no block can run.
    /// Replaces all graphs by one, without a crossfade; null for none.
    void replace(std::unique_ptr<CAudioGraph> graph);
    /// Ends a crossfade and takes up an offer at once.
    void settle();
    CAudioGraph* getLive() const { return live.get(); }

    // The audio thread's.
    /// Takes up an offer.
    void exchange(double sampleRate) LUM_REALTIME;
    /// A block for the samples of an input channel.
    CSampleBlockRef takeInput(int frames) LUM_REALTIME { return live->getPool().take(frames); }
    void feed(int channel, CSampleBlockRef block, int frames) LUM_REALTIME;
    void process(int frames) LUM_REALTIME;
    /// The samples of an output channel, or null. mixture: [frames], where a crossfade is put.
    const double* readOutput(int channel, double* mixture) LUM_REALTIME;
    /// Ends the block.
    void release() LUM_REALTIME;
    bool isFading() const { return older != nullptr; }

private:
    void startFade(double sampleRate) LUM_REALTIME;
    void leaveOlder() LUM_REALTIME;

    std::unique_ptr<CAudioGraph> live;
    std::unique_ptr<CAudioGraph> older; // until the crossfade is done
    const CAudioGraph* newest = nullptr;
    std::atomic<CAudioGraph*> offered{nullptr}; // owned
    std::atomic<CAudioGraph*> left{nullptr};    // owned, linked by `next`

    int blockLength = 0;   // samples of the block under way
    int preDelay = 0;      // samples left in which only `older` is heard
    int fadeLength = 0;    // samples left of the crossfade
    CRaisedCosineFade law; // at the block's first sample of the crossfade
};

} // namespace lum
