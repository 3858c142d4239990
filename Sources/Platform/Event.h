#pragma once

#include <atomic>
#include <cstdint>

namespace lum::platform {

/// An auto-reset event: one waiter passes for each signal, and a signal without a waiter is kept
/// (once). Created non-signalled. Any thread.
class CEvent {
public:
    /// Wakes one waiter or lets the next one pass. A system call only when somebody sleeps.
    void signal() noexcept;
    /// Sleeps until the event is signalled, then resets it.
    void wait() noexcept { pass(nullptr); }
    /// As wait, for at most `seconds`. False: the time ran out.
    bool waitFor(double seconds) noexcept;

private:
    bool pass(const double* deadline) noexcept; // seconds of the clock, null: without limit
    bool take(uint32_t& seen, uint32_t leaving) noexcept;
    bool sleep(uint32_t seen, const double* deadline) noexcept;

    std::atomic<uint32_t> state{0}; // bit 0: signalled; above: the number of sleepers
};

} // namespace lum::platform
