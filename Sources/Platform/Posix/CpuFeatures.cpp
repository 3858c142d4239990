#include "Platform/CpuFeatures.h"

namespace lum::platform {

namespace {

CpuLevel detect() noexcept {
    __builtin_cpu_init();
    // These tests also ask whether the operating system saves the wide registers.
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return CpuLevel::Plain;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq"))
        return CpuLevel::Avx512;
    return CpuLevel::Avx2;
}

} // namespace

CpuLevel cpuLevel() noexcept {
    static const CpuLevel level = detect();
    return level;
}

} // namespace lum::platform
