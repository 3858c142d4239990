#include "Audio/Transform/VectorCode.h"

#include "Audio/Transform/VectorCodeSets.h"

#include <atomic>

namespace lum {

namespace {

std::atomic<const CVectorCode*> codeInUse{nullptr};

} // namespace

const CVectorCode& vectorCodeOf(platform::CpuLevel level) noexcept {
#if defined(__x86_64__)
    if (level >= platform::CpuLevel::Avx512) return kVectorCodeAvx512;
    if (level >= platform::CpuLevel::Avx2) return kVectorCodeAvx2;
#endif
    (void)level;
    return kVectorCodePlain;
}

const CVectorCode& vectorCode() noexcept {
    const CVectorCode* code = codeInUse.load(std::memory_order_relaxed);
    if (code) return *code;
    selectVectorCode(platform::cpuLevel());
    return *codeInUse.load(std::memory_order_relaxed);
}

void selectVectorCode(platform::CpuLevel level) noexcept {
    codeInUse.store(&vectorCodeOf(level), std::memory_order_relaxed);
}

} // namespace lum
