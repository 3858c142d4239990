#pragma once

#include "Other/CLinearBitmap.h"
#include "Platform/Surface.h"

namespace lum {

/// A bitmap whose pixels the window system can read where they lie.
class CLinearBitmapDC : public CLinearBitmap {
public:
    ~CLinearBitmapDC() override;

    /// As in the base; the pixels are always zeroed. Error: the system gives no surface, with its
    /// code, and the bitmap is empty.
    CErrorResult setSize(int newWidth, int newHeight, bool isClearing) override;
    /// All that was drawn becomes visible to whoever reads the surface.
    void flushToDevice() override;
    const platform::CSurface& getSurface() const noexcept { return surface; }

private:
    platform::CSurface surface;
};

} // namespace lum
