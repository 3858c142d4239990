#pragma once

#include "Core/Realtime.h"

#include <cstdint>

namespace lum {

/// Noise in [-2^-42, 2^-42), which modules write instead of silence. Every generator has a sequence
/// of its own, drawn from a process-wide counter when it is made. One thread at a time.
class CNoiseFloor {
public:
    CNoiseFloor();
    explicit CNoiseFloor(uint32_t seed); // a given sequence, for tests
    /// The sequence does not depend on how it is cut into calls.
    void fill(double* out, int count) noexcept LUM_REALTIME;
    /// One 64-bit output of the generator.
    uint64_t step() noexcept LUM_REALTIME;

private:
    uint64_t finishStep(uint64_t x) noexcept;

    uint64_t a = 0;
    uint64_t b = 0;
    uint64_t c = 0;
    uint64_t word = 0;    // output under way
    int quartersLeft = 0; // 16-bit parts of it that were not used yet
};

} // namespace lum
