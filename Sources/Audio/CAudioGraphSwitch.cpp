#include "Audio/CAudioGraphSwitch.h"

#include "Audio/Processes/SampleOps.h"

#include <algorithm>

namespace lum {

namespace {

constexpr double kFadeSeconds = 0.025; // as between two kernels of the filter

void freeList(CAudioGraph* graph, CAudioGraph* CAudioGraph::*next) {
    while (graph) delete std::exchange(graph, graph->*next);
}

} // namespace

CAudioGraphSwitch::~CAudioGraphSwitch() {
    replace(nullptr);
}

// Control threads

void CAudioGraphSwitch::offer(std::unique_ptr<CAudioGraph> graph) {
    newest = graph.get();
    // What the audio thread has not taken yet was never heard.
    delete offered.exchange(graph.release(), std::memory_order_acq_rel);
}

void CAudioGraphSwitch::freeLeft() {
    freeList(left.exchange(nullptr, std::memory_order_acquire), &CAudioGraph::next);
}

void CAudioGraphSwitch::replace(std::unique_ptr<CAudioGraph> graph) {
    delete offered.exchange(nullptr, std::memory_order_acq_rel);
    older.reset();
    if (live) live->leave();
    live = std::move(graph);
    newest = live.get();
    if (live) live->goLive();
    freeLeft();
}

void CAudioGraphSwitch::settle() {
    if (CAudioGraph* graph = offered.exchange(nullptr, std::memory_order_acq_rel))
        replace(std::unique_ptr<CAudioGraph>(graph));
    older.reset();
    freeLeft();
}

// The audio thread

void CAudioGraphSwitch::exchange(double sampleRate) LUM_REALTIME {
    if (older) return;
    CAudioGraph* graph = offered.exchange(nullptr, std::memory_order_acq_rel);
    if (!graph) return;
    live->leave();
    older = std::move(live);
    live.reset(graph);
    live->goLive();
    startFade(sampleRate);
}

void CAudioGraphSwitch::startFade(double sampleRate) LUM_REALTIME {
    // The past of a filter reaches as far behind its latency as the latency at the most; until
    // then the new graph still answers to a past that never was.
    preDelay = 2 * live->getLatency();
    fadeLength = std::max(roundToInt(sampleRate * kFadeSeconds), 1);
    law.start(fadeLength);
}

/// The older graph gets a copy, because blocks of a pool stay with one graph.
void CAudioGraphSwitch::feed(int channel, CSampleBlockRef block, int frames) LUM_REALTIME {
    if (older) {
        CSampleBlockRef copy = older->getPool().take(frames);
        ops::copy(copy.samples(), block.samples(), frames);
        older->feed(channel, std::move(copy), frames);
    }
    live->feed(channel, std::move(block), frames);
}

void CAudioGraphSwitch::process(int frames) LUM_REALTIME {
    blockLength = frames;
    if (older) older->process();
    live->process();
}

/// `older` alone, then the crossfade, then `live` alone, as far as this block reaches.
const double* CAudioGraphSwitch::readOutput(int channel, double* mixture) LUM_REALTIME {
    const double* newer = live->findOutput(channel);
    if (!older) return newer;
    const double* before = older->findOutput(channel);
    const int alone = std::min(preDelay, blockLength);
    if (alone == blockLength || (!newer && !before)) return before;

    const int mixed = std::min(fadeLength, blockLength - alone);
    double silence[kLongestSubBlock];
    if (!newer || !before) ops::fill(silence, 0.0, blockLength);
    if (!newer) newer = silence;
    if (!before) before = silence;
    const int rest = alone + mixed;
    ops::copy(mixture, before, alone);
    CRaisedCosineFade fade = law; // each channel runs through it by itself
    fade.mix(mixture + alone, before + alone, newer + alone, mixed);
    ops::copy(mixture + rest, newer + rest, blockLength - rest);
    return mixture;
}

void CAudioGraphSwitch::release() LUM_REALTIME {
    live->releaseOutputs();
    if (!older) return;
    older->releaseOutputs();
    const int alone = std::min(preDelay, blockLength);
    const int mixed = std::min(fadeLength, blockLength - alone);
    law.skip(mixed);
    preDelay -= alone;
    fadeLength -= mixed;
    if (preDelay + fadeLength == 0) leaveOlder();
}

void CAudioGraphSwitch::leaveOlder() LUM_REALTIME {
    CAudioGraph* graph = older.release();
    graph->next = left.load(std::memory_order_relaxed);
    while (!left.compare_exchange_weak(graph->next, graph, std::memory_order_release,
                                       std::memory_order_relaxed)) {
    }
}

} // namespace lum
