/// The host's side of one plug-in instance: what it answers when the plug-in asks.
#pragma once

#include "Audio/VST/VstAbi.h"

#include <atomic>
#include <cstdint>

namespace lum::host {

/// One session per instance. The instance that owns it sets the fields between process calls; the
/// plug-in may ask from any of its threads.
class HostSession {
public:
    double sampleRate = 48000.0; // Hz
    std::int32_t blockSize = 512;
    vst::ProcessLevel processLevel = vst::ProcessLevel::User;
    double samplePosition = 0.0; // of the next block's first frame

    std::atomic<std::int64_t> unknownCalls{0};   // host opcodes this host has no answer for
    std::atomic<std::int64_t> automateCalls{0};  // parameter changes the plug-in told of
    std::atomic<std::int64_t> ioChangedCalls{0}; // changes of channels or latency

    /// The function that a plug-in's entry receives.
    static std::intptr_t LUM_VST_CALL callback(vst::AEffect* effect, std::int32_t opcode,
                                               std::int32_t index, std::intptr_t value, void* ptr,
                                               float opt);

    /// While it lives, calls of this thread that name no known effect belong to `session`: the
    /// plug-in's entry may ask before its effect exists.
    class Construction {
    public:
        explicit Construction(HostSession& session);
        ~Construction();
        Construction(const Construction&) = delete;
        Construction& operator=(const Construction&) = delete;
    };

    /// Ties the effect to this session, by the field that the contract reserves for hosts.
    void attach(vst::AEffect& effect);

private:
    std::intptr_t answer(std::int32_t opcode, void* ptr);
    std::intptr_t timeInfo();

    vst::TimeInfo time_{};
};

} // namespace lum::host
