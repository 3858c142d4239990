#include "Audio/Processes/CNoiseFloor.h"

#include "Platform/Lock.h"

#include <bit>

namespace lum {

namespace {

uint32_t nextSeed() {
    static platform::CSpinLock lock;
    static uint32_t counter = 0;
    platform::CSpinGuard hold(lock);
    return ++counter & 0x7FFFFFFF;
}

} // namespace

CNoiseFloor::CNoiseFloor() : CNoiseFloor(nextSeed()) {}

CNoiseFloor::CNoiseFloor(uint32_t seed) {
    finishStep(seed);
    for (int i = 0; i < 4; i++) step();
}

uint64_t CNoiseFloor::step() noexcept LUM_REALTIME {
    return finishStep((2 * b + 1) * a);
}

uint64_t CNoiseFloor::finishStep(uint64_t x) noexcept {
    b += x + 0x5555555555555555;
    uint64_t r = std::rotr(x, 32);
    c += r + 0xAAAAAAAAAAAAAAAA;
    a = x ^ c;
    return r ^ b;
}

void CNoiseFloor::fill(double* out, int count) noexcept LUM_REALTIME {
    for (int i = 0; i < count; i++) {
        if (quartersLeft == 0) {
            word = step();
            quartersLeft = 4;
        }
        out[i] = static_cast<double>(word & 0xFFFF) * 0x1p-57 - 0x1p-42;
        word >>= 16;
        quartersLeft--;
    }
}

} // namespace lum
