#pragma once

namespace lum::platform {

/// Turns on the processor's flush-to-zero and denormals-are-zero modes (MXCSR bits 0x8040) for a
/// scope, and puts the old control word back if it changed it.
class CFlushToZero {
public:
    CFlushToZero() noexcept;
    ~CFlushToZero();
    CFlushToZero(const CFlushToZero&) = delete;
    CFlushToZero& operator=(const CFlushToZero&) = delete;

private:
    unsigned saved;
    bool isChanged;
};

} // namespace lum::platform
