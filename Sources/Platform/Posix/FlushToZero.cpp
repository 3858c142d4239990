#include "Platform/FlushToZero.h"

#include <immintrin.h>

namespace lum::platform {

namespace {
constexpr unsigned kFlushBits = 0x8040; // flush-to-zero and denormals-are-zero
}

CFlushToZero::CFlushToZero() noexcept
    : saved(_mm_getcsr()), isChanged((saved & kFlushBits) != kFlushBits) {
    if (isChanged) _mm_setcsr(saved | kFlushBits);
}

CFlushToZero::~CFlushToZero() {
    if (isChanged) _mm_setcsr(saved);
}

} // namespace lum::platform
