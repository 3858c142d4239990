#include "Platform/CpuFeatures.h"

namespace lum::platform {

namespace {

CpuLevel detect() noexcept {
    __builtin_cpu_init();
    // These tests also ask whether the operating system saves the wide registers.
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return CpuLevel::Plain;
    // The last one asks for a processor that keeps its clock up with wide registers; the first ones
    // with AVX-512 slowed down everything for a while after each use.
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi2"))
        return CpuLevel::Avx512;
    return CpuLevel::Avx2;
}

} // namespace

CpuLevel cpuLevel() noexcept {
    static const CpuLevel level = detect();
    return level;
}

} // namespace lum::platform
