#pragma once

#include <cstdint>
#include <memory>

namespace lum::platform {

/// Timers that call back on one thread of their own. The thread starts with the first timer.
class CTimerQueue {
public:
    using Callback = void (*)(void* argument);

    CTimerQueue();
    ~CTimerQueue(); // stops the thread

    /// First call at once, then every `periodMs`. Gives a number, 0 on failure with `errorCode`
    /// set.
    uint32_t createTimer(uint32_t periodMs, Callback callback, void* argument, int& errorCode);
    /// When this returns the callback is not running, unless the caller is the callback itself.
    void deleteTimer(uint32_t id);

private:
    struct CState;
    std::unique_ptr<CState> state;
};

} // namespace lum::platform
