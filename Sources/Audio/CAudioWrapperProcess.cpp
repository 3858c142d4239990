#include "Audio/CAudioWrapper.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioVizCollector.h"
#include "Audio/Transform/VectorCode.h"
#include "Core/CRealtimeScope.h"
#include "Platform/FlushToZero.h"

#include <algorithm>

// The block entry. Everything here runs on the host's audio thread.

namespace lum {

namespace {

/// One channel of a host bus: its first sample and the distance to the next one. Null: no buffer.
template <class Pointer>
struct CChannelView {
    Pointer first = nullptr;
    int stride = 1; // samples
};

/// channel: within the bus. `pointers` are those of the bus.
template <class Pointer>
CChannelView<Pointer> viewChannel(Pointer const* pointers, const CAudioBusFormat& format,
                                  int channel) {
    if (!pointers || channel >= format.channels) return {};
    if (!format.isInterleaved) return {pointers[channel], 1};
    using Byte =
        std::conditional_t<std::is_const_v<std::remove_pointer_t<Pointer>>, const char, char>;
    const int sampleBytes = format.isDouble ? 8 : 4;
    Byte* base = static_cast<Byte*>(pointers[0]);
    return {base ? base + channel * sampleBytes : nullptr, format.channels};
}

/// The pointers of a bus take this much of the host's array.
int pointerCount(const CAudioBusFormat& format) {
    return format.isInterleaved ? 1 : format.channels;
}

void copySamples(const double* in, double* out, int count) {
    std::copy_n(in, count, out);
}

void copySamples(const float* in, double* out, int count) {
    vectorCode().widen(in, out, count);
}

void copySamples(const double* in, float* out, int count) {
    vectorCode().narrow(in, out, count);
}

template <class Sample>
void readSamples(const void* source, int position, int stride, double* samples, int frames) {
    const Sample* from =
        static_cast<const Sample*>(source) + static_cast<ptrdiff_t>(position) * stride;
    if (stride == 1) return copySamples(from, samples, frames);
    for (int i = 0; i < frames; i++)
        samples[i] = static_cast<double>(from[static_cast<ptrdiff_t>(i) * stride]);
}

/// samples: null writes zeros.
template <class Sample>
void writeSamples(void* target, int position, int stride, const double* samples, int frames) {
    Sample* to = static_cast<Sample*>(target) + static_cast<ptrdiff_t>(position) * stride;
    if (!samples) {
        for (int i = 0; i < frames; i++) to[static_cast<ptrdiff_t>(i) * stride] = Sample(0);
        return;
    }
    if (stride == 1) return copySamples(samples, to, frames);
    for (int i = 0; i < frames; i++)
        to[static_cast<ptrdiff_t>(i) * stride] = static_cast<Sample>(samples[i]);
}

void writeChannel(const CChannelView<void*>& view, bool isDouble, int position,
                  const double* samples, int frames) {
    if (!view.first || frames <= 0) return;
    if (isDouble)
        writeSamples<double>(view.first, position, view.stride, samples, frames);
    else
        writeSamples<float>(view.first, position, view.stride, samples, frames);
}

} // namespace

void CAudioWrapper::process(const void* const* inputs, void* const* outputs, int frames) {
    platform::CFlushToZero mode;
    if (!beginBlock()) return writeSilence(outputs, outFormat, frames);
    const int latencyBefore = getLatency();
    sortEvents();
    runBlocks(inputs, outputs, frames);
    if (getLatency() != latencyBefore) onLatencyChanged();
    events.clear();
    endBlock();
}

bool CAudioWrapper::beginBlock() {
    if (!blockLock.tryEnter()) return false;
    if (isRunning) return true;
    events.clear();
    blockLock.leave();
    return false;
}

void CAudioWrapper::runBlocks(const void* const* inputs, void* const* outputs, int frames) {
    bool needsExchange = true;
    {
        platform::CSpinGuard hold(env->lock);
        env->blockEndTime = env->time + frames / layout.sampleRate;
    }
    for (int position = 0; position < frames;) {
        bool wasDispatched = false;
        const int count =
            dispatchEvents(position, std::min(frames - position, kLongestSubBlock), wasDispatched);
        if (needsExchange || wasDispatched) exchange();
        if (needsExchange) vizCollector->updateBlock();
        runSubBlock(inputs, outputs, position, count);
        needsExchange = false;
        env->time += count / layout.sampleRate;
        position += count;
    }
}

void CAudioWrapper::runSubBlock(const void* const* inputs, void* const* outputs, int position,
                                int frames) {
    CRealtimeScope scope;
    feedInputs(inputs, position, frames);
    graphs.process(frames);
    noteLatency();
    collectOutputs(outputs, position, frames);
}

void CAudioWrapper::exchange() {
    CRealtimeScope scope;
    collector->takePendingChanges();
    graphs.exchange(layout.sampleRate);
}

/// The heard graph may be another one, or have got another latency from its parameters.
void CAudioWrapper::noteLatency() {
    env->latency.store(graphs.getLive()->getLatency(), std::memory_order_relaxed);
}

/// Events come nearly sorted, so insertion is fast; it keeps the order of equal offsets.
void CAudioWrapper::sortEvents() {
    for (size_t i = 1; i < events.size(); i++) {
        const CAudioEvent event = events[i];
        size_t place = i;
        for (; place > 0 && events[place - 1].sampleOffset > event.sampleOffset; place--)
            events[place] = events[place - 1];
        events[place] = event;
    }
    eventReadIndex = 0;
}

/// Runs the events that are due and gives the frames up to the next one, at most `frames`.
int CAudioWrapper::dispatchEvents(int position, int frames, bool& wasDispatched) {
    for (; eventReadIndex < events.ssize(); eventReadIndex++) {
        const CAudioEvent& event = events[eventReadIndex];
        if (event.sampleOffset > position) return std::min(frames, event.sampleOffset - position);
        if (event.kind == AudioEventKind::Midi)
            onMidiEvent(event);
        else
            onParamEvent(event);
        wasDispatched = true;
    }
    return frames;
}

void CAudioWrapper::feedInputs(const void* const* inputs, int position, int frames) {
    for (int i = 0; i < layout.slots.ssize(); i++) {
        const bool isMain = i < inFormat.channels;
        const CAudioBusFormat& format = isMain ? inFormat : sideChainFormat;
        const void* const* pointers = !inputs || isMain ? inputs : inputs + pointerCount(inFormat);
        const auto view = viewChannel(pointers, format, isMain ? i : i - inFormat.channels);
        CSampleBlockRef block = graphs.takeInput(frames);
        if (!view.first)
            std::fill_n(block.samples(), frames, 0.0);
        else if (format.isDouble)
            readSamples<double>(view.first, position, view.stride, block.samples(), frames);
        else
            readSamples<float>(view.first, position, view.stride, block.samples(), frames);
        graphs.feed(i, std::move(block), frames);
    }
}

void CAudioWrapper::collectOutputs(void* const* outputs, int position, int frames) {
    double mixture[kLongestSubBlock];
    for (int channel = 0; channel < outFormat.channels; channel++)
        writeChannel(viewChannel(outputs, outFormat, channel), outFormat.isDouble, position,
                     graphs.readOutput(channel, mixture), frames);
    graphs.release();
}

void CAudioWrapper::writeSilence(void* const* outputs, const CAudioBusFormat& format, int frames) {
    for (int channel = 0; channel < format.channels; channel++)
        writeChannel(viewChannel(outputs, format, channel), format.isDouble, 0, nullptr, frames);
}

void CAudioWrapper::addEvent(const CAudioEvent& event) {
    if (!blockLock.tryEnter()) return; // another thread is in a block, against the order of calls
    if (events.size() < events.capacity()) events.push_back(event);
    blockLock.leave();
}

} // namespace lum
