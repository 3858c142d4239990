#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

/// The two kinds of lock the system uses. Both are recursive.
namespace lum::platform {

/// A recursive lock whose waiters sleep. For control threads only: the audio thread never takes it.
class CLock {
public:
    CLock() noexcept;
    ~CLock();
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    void enter() noexcept;
    bool tryEnter() noexcept;
    void leave() noexcept;

private:
    pthread_mutex_t mutex;
};

/// One step of a loop that waits for another thread's few stores: a pause of the processor, and
/// after a long time of that a system call that gives the time slice away, because on a busy
/// machine the other thread may not be running at all.
class CSpinWait {
public:
    void step() noexcept;

private:
    unsigned steps = 0;
};

/// A recursive lock taken by a loop of non-blocking tries. It makes no system call on its short
/// path, so the audio thread may take it; whoever holds it does a few stores and no more.
class CSpinLock {
public:
    CSpinLock() noexcept = default;
    CSpinLock(const CSpinLock&) = delete;
    CSpinLock& operator=(const CSpinLock&) = delete;

    void enter() noexcept;
    bool tryEnter() noexcept;
    void leave() noexcept;
    bool isHeldByCaller() const noexcept;

private:
    std::atomic<uintptr_t> owner{0}; // the system's handle of the thread, 0 for none
    int depth = 0;                   // touched by the owner only
};

/// Holds a lock for a scope.
template <class Lock>
class CGuard {
public:
    explicit CGuard(Lock& target) noexcept : lock(target) { lock.enter(); }
    ~CGuard() { lock.leave(); }
    CGuard(const CGuard&) = delete;
    CGuard& operator=(const CGuard&) = delete;

private:
    Lock& lock;
};

using CLockGuard = CGuard<CLock>;
using CSpinGuard = CGuard<CSpinLock>;

} // namespace lum::platform
