#include "Other/PixelCode.h"

#include "Platform/CpuFeatures.h"

#include <atomic>

namespace lum {

namespace {

std::atomic<const CPixelCode*> selected{nullptr};

const CPixelCode& bestCode() noexcept {
    const bool isWide = platform::cpuLevel() >= platform::CpuLevel::Avx2;
    return isWide ? avx2PixelCode() : plainPixelCode();
}

} // namespace

const CPixelCode& pixelCode() noexcept {
    const CPixelCode* code = selected.load(std::memory_order_relaxed);
    if (!code) {
        code = &bestCode();
        selected.store(code, std::memory_order_relaxed);
    }
    return *code;
}

void selectPixelCode(const CPixelCode* code) noexcept {
    selected.store(code, std::memory_order_relaxed);
}

} // namespace lum
