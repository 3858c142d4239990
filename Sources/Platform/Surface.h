#pragma once

#include <cstdint>

namespace lum::platform {

/// Memory for the pixels of a window: rows of 32-bit pixels from top to bottom, without padding,
/// which the window system can read where they lie. Any one thread at a time.
class CSurface {
public:
    CSurface() noexcept = default;
    ~CSurface() { destroy(); }
    CSurface(const CSurface&) = delete;
    CSurface& operator=(const CSurface&) = delete;

    /// Takes zeroed memory in place of what was there. Both sides are positive. The system's code,
    /// 0 for success; without success the surface is empty.
    int create(int width, int height) noexcept;
    void destroy() noexcept;
    uint8_t* pixels() const noexcept { return memory; }
    /// What the window system is told to read from; -1 for an empty surface.
    int handle() const noexcept { return section; }

private:
    uint8_t* memory = nullptr;
    uint64_t bytes = 0;
    int section = -1;
};

} // namespace lum::platform
