#include "Platform/Posix/TimedCondition.h"

#include <ctime>

namespace lum::platform {

namespace {
constexpr int64_t kTicksPerSecond = 1000000000; // the clock counts nanoseconds
}

CTimedCondition::CTimedCondition() noexcept {
    pthread_mutex_init(&mutex, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

CTimedCondition::~CTimedCondition() {
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
}

void CTimedCondition::waitUntil(int64_t ticks) noexcept {
    timespec time{};
    time.tv_sec = static_cast<time_t>(ticks / kTicksPerSecond);
    time.tv_nsec = static_cast<long>(ticks % kTicksPerSecond);
    pthread_cond_timedwait(&condition, &mutex, &time);
}

} // namespace lum::platform
