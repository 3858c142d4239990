#pragma once

#include "Core/CObject.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

#include <atomic>

namespace lum {

/// `audio:audio-env`: the environment that the engine objects of one instance share. Its lock is
/// the one lock that the audio thread takes, by spinning; whoever holds it does a few stores or
/// pointer swaps.
class CAudioEnv : public CObject {
public:
    static void fillClass(CClassInfo& info);

    platform::CSpinLock lock;
    bool isActive = false;       // under the lock: processing runs
    double sampleRate = 44100.0; // Hz, under the lock
    std::atomic<int> latency{0}; // samples from graph input to output; relaxed, any thread reads it
    double time = 0.0;           // seconds of audio since start; audio thread
    double blockEndTime = 0.0;   // under the lock: `time` at the end of the host's block
    double displayRate = 0.0;    // under the lock: of the client that asked last, frames a second
};

} // namespace lum
