#pragma once

#include <cstdint>

/// The high-resolution clock. Any thread.
namespace lum::platform {

/// Monotonic counter value; its unit is 1 / clockFrequency() seconds.
int64_t clockTicks() noexcept;

/// Counter values per second.
double clockFrequency() noexcept;

/// Seconds since an arbitrary fixed point.
inline double clockSeconds() noexcept {
    return static_cast<double>(clockTicks()) / clockFrequency();
}

} // namespace lum::platform
