#include "Platform/Clock.h"

#include <ctime>

namespace lum::platform {

namespace {
constexpr int64_t kTicksPerSecond = 1000000000; // the counter is in nanoseconds
}

int64_t clockTicks() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * kTicksPerSecond + now.tv_nsec;
}

double clockFrequency() noexcept {
    return static_cast<double>(kTicksPerSecond);
}

} // namespace lum::platform
