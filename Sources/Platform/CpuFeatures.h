#pragma once

namespace lum::platform {

/// The instruction sets that code of this system is written for, worst to best: AVX2 with FMA, and
/// with it AVX-512 F, DQ and VL.
enum class CpuLevel { Plain, Avx2, Avx512 };

/// The best level that processor and operating system support. Constant after the first call.
CpuLevel cpuLevel() noexcept;

} // namespace lum::platform
