#pragma once

#include "Core/CVector.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

namespace lum {

class CAudioParam;

/// Parameter writes that originate on the audio thread, such as the channel counts of a router.
/// Writing a parameter takes its guard, which sleeps, so the audio thread only leaves a note here
/// and a control thread carries the writes out. One per instance.
class CControlWriteQueue {
public:
    CControlWriteQueue() { writes.reserve(kRoom); }
    /// Notes a write; a later one of the same group replaces it. Audio thread; spins for a few
    /// stores.
    void post(CAudioParam& param, int group, double value) LUM_REALTIME;
    /// Carries out what was noted: element 0 of each group, in order of posting. Control threads:
    /// after set-up, and whenever the host's main thread or the interface thread comes by.
    void drain();
    bool isEmpty() const noexcept { return !hasWrites.load(std::memory_order_acquire); }

private:
    struct CWrite {
        CAudioParam* param;
        int group;
        double value;
    };
    static constexpr size_t kRoom = 64; // parameters and groups that the audio thread writes
    platform::CSpinLock lock;
    std::atomic<bool> hasWrites{false};
    CVector<CWrite, 0> writes;
};

} // namespace lum
