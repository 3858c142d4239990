#include "Other/CLinearBitmapDC.h"

#include <atomic>

namespace lum {

CLinearBitmapDC::~CLinearBitmapDC() {
    detachPixels();
}

CErrorResult CLinearBitmapDC::setSize(int newWidth, int newHeight, bool) {
    if (newWidth == width && newHeight == height) return nullptr;
    flushToDevice();
    detachPixels();
    surface.destroy();
    if (newWidth <= 0 || newHeight <= 0) return nullptr;
    LUM_TRY(checkSize(newWidth, newHeight));
    if (const int code = surface.create(newWidth, newHeight))
        return LUM_FAIL("@lumstr_CLinearBitmapDC_setSize_NoSurface Error %1 while creating a "
                        "surface of %2 x %3 pixels.",
                        code, newWidth, newHeight);
    attachPixels(surface.pixels(), newWidth, newHeight);
    return nullptr;
}

// The memory is shared: nothing is copied, but the compiler has to let the stores come first. For
// the processor the system call that tells the window system orders them.
void CLinearBitmapDC::flushToDevice() {
    std::atomic_signal_fence(std::memory_order_release);
}

} // namespace lum
