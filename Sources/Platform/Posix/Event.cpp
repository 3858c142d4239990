#include "Platform/Event.h"

#include "Platform/Clock.h"

#include <cmath>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace lum::platform {

namespace {

constexpr uint32_t kSignalled = 1;
constexpr uint32_t kSleeper = 2;      // one sleeper, in the bits above
constexpr double kLongestSleep = 1e6; // seconds; a longer limit sleeps in several pieces

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the kernel looks at the word");

long futex(std::atomic<uint32_t>& word, int operation, uint32_t value, const timespec* time) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(&word), operation, value, time, nullptr,
                   0);
}

} // namespace

void CEvent::signal() noexcept {
    const uint32_t before = state.fetch_or(kSignalled, std::memory_order_acq_rel);
    // A signal that was still there has woken a sleeper already.
    if (before >= kSleeper && !(before & kSignalled)) futex(state, FUTEX_WAKE_PRIVATE, 1, nullptr);
}

bool CEvent::waitFor(double seconds) noexcept {
    const double deadline = clockSeconds() + seconds;
    return pass(&deadline);
}

bool CEvent::pass(const double* deadline) noexcept {
    uint32_t seen = state.load(std::memory_order_relaxed);
    if (take(seen, 0)) return true;
    seen = state.fetch_add(kSleeper, std::memory_order_relaxed) + kSleeper;
    for (;;) {
        if (take(seen, kSleeper)) return true;
        if (!sleep(seen, deadline)) break;
        seen = state.load(std::memory_order_relaxed);
    }
    // The time is up; a signal that came at the last moment still counts.
    while (!take(seen, kSleeper)) {
        if (state.compare_exchange_weak(seen, seen - kSleeper, std::memory_order_relaxed))
            return false;
    }
    return true;
}

/// Resets a signalled event and takes `leaving` off the number of sleepers.
bool CEvent::take(uint32_t& seen, uint32_t leaving) noexcept {
    while (seen & kSignalled) {
        if (state.compare_exchange_weak(seen, (seen & ~kSignalled) - leaving,
                                        std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    }
    return false;
}

/// Sleeps while the state is `seen`, or until something happens. False: the deadline has passed.
bool CEvent::sleep(uint32_t seen, const double* deadline) noexcept {
    if (!deadline) {
        futex(state, FUTEX_WAIT_PRIVATE, seen, nullptr);
        return true;
    }
    const double left = std::fmin(*deadline - clockSeconds(), kLongestSleep);
    if (!(left > 0.0)) return false;
    timespec time{};
    time.tv_sec = static_cast<time_t>(left);
    time.tv_nsec = static_cast<long>((left - std::floor(left)) * 1e9);
    futex(state, FUTEX_WAIT_PRIVATE, seen, &time);
    return true;
}

} // namespace lum::platform
