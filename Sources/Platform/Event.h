#pragma once

#include <atomic>
#include <cstdint>

namespace lum::platform {

/// An auto-reset event: one waiter passes for each signal, and a signal without a waiter is kept
/// (once). Created non-signalled. Any thread.
class CEvent {
public:
    /// Wakes one waiter or lets the next one pass.
    void signal() noexcept;
    /// Sleeps until the event is signalled, then resets it.
    void wait() noexcept;
    /// As wait, for at most `seconds`. False: the time ran out.
    bool waitFor(double seconds) noexcept;

private:
    std::atomic<uint32_t> state{0}; // 0 reset, 1 signalled, 2 reset with a sleeper
};

} // namespace lum::platform
