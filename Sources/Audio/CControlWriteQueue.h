#pragma once

#include "Core/CVector.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

#include <atomic>

namespace lum {

class CAudioParam;
class CAudioParamInfo;

/// Parameter writes that originate on the audio thread, such as the channel counts of a router.
/// Writing a parameter takes its guard, which sleeps, so the audio thread only leaves a note here
/// and a control thread carries the writes out. One per instance.
class CControlWriteQueue {
public:
    CControlWriteQueue() { writes.reserve(kRoom); }
    /// Notes a write; a later one of the same group replaces it. definition: the parameter is bound
    /// to it first, null when others bind it. Audio thread; spins for a few stores.
    void post(CAudioParam& param, int group, double value,
              const CAudioParamInfo* definition = nullptr) LUM_REALTIME;
    /// Carries out what was noted: element 0 of each group, in order of posting. Control threads:
    /// after set-up, and whenever the host's main thread or the interface thread comes by. Leaves
    /// it to another thread that is at it, so that an older value never comes behind a newer one.
    void drain();
    bool isEmpty() const noexcept { return !hasWrites.load(std::memory_order_acquire); }

private:
    struct CWrite {
        CAudioParam* param;
        int group;
        double value;
        const CAudioParamInfo* definition;
    };
    void carryOut(const CWrite& write);

    std::atomic_flag isDraining;
    static constexpr size_t kRoom = 64; // parameters and groups that the audio thread writes
    platform::CSpinLock lock;
    std::atomic<bool> hasWrites{false};
    CVector<CWrite, 0> writes;
};

} // namespace lum
