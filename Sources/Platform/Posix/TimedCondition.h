#pragma once

#include <cstdint>
#include <pthread.h>

namespace lum::platform {

/// A mutex with a condition that is waited for on the monotonic clock: what the queues of this
/// folder sleep on. Any thread.
class CTimedCondition {
public:
    CTimedCondition() noexcept;
    ~CTimedCondition();
    CTimedCondition(const CTimedCondition&) = delete;
    CTimedCondition& operator=(const CTimedCondition&) = delete;

    void enter() noexcept { pthread_mutex_lock(&mutex); }
    void leave() noexcept { pthread_mutex_unlock(&mutex); }
    void notifyAll() noexcept { pthread_cond_broadcast(&condition); }
    /// Leaves the mutex, sleeps until a notification, and enters it again.
    void wait() noexcept { pthread_cond_wait(&condition, &mutex); }
    /// As wait, but at most until the clock shows `ticks`.
    void waitUntil(int64_t ticks) noexcept;

private:
    pthread_mutex_t mutex;
    pthread_cond_t condition;
};

} // namespace lum::platform
