#include "Platform/Lock.h"

#include <immintrin.h>
#include <sched.h>

namespace lum::platform {

namespace {

constexpr unsigned kStepsBeforeYield = 4000; // pauses, some 50 to 200 us

// The system's own handle needs no thread-local storage of this module, whose first use on a thread
// would call the system allocator.
uintptr_t self() {
    return reinterpret_cast<uintptr_t>(reinterpret_cast<void*>(pthread_self()));
}

} // namespace

CLock::CLock() noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CLock::~CLock() {
    pthread_mutex_destroy(&mutex);
}

void CLock::enter() noexcept {
    pthread_mutex_lock(&mutex);
}

bool CLock::tryEnter() noexcept {
    return pthread_mutex_trylock(&mutex) == 0;
}

void CLock::leave() noexcept {
    pthread_mutex_unlock(&mutex);
}

void CSpinWait::step() noexcept {
    if (steps < kStepsBeforeYield) {
        steps++;
        _mm_pause();
        return;
    }
    sched_yield();
}

void CSpinLock::enter() noexcept {
    CSpinWait wait;
    while (!tryEnter()) wait.step();
}

bool CSpinLock::tryEnter() noexcept {
    const uintptr_t me = self();
    uintptr_t seen = owner.load(std::memory_order_relaxed);
    if (seen == me) {
        depth++;
        return true;
    }
    if (seen != 0 || !owner.compare_exchange_strong(seen, me, std::memory_order_acquire,
                                                    std::memory_order_relaxed))
        return false;
    depth = 1;
    return true;
}

bool CSpinLock::isHeldByCaller() const noexcept {
    return owner.load(std::memory_order_relaxed) == self();
}

void CSpinLock::leave() noexcept {
    // After the store the lock may be gone: whoever enters next may be the one who destroys it.
    if (--depth == 0) owner.store(0, std::memory_order_release);
}

} // namespace lum::platform
