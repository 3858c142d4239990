#pragma once

#include "Core/CString.h"
#include "Other/CImageSet.h"

namespace lum {

/// Where a view draws. The scratch bitmaps belong to whoever draws, one pair for each thread; they
/// take the target's size on first use.
struct CViewContext {
    CLinearBitmap* target = nullptr;
    CLinearBitmap* scratch[2] = {nullptr, nullptr};
    int originX = 0; // pixel of the window at the target's corner
    int originY = 0;
    CPixelRect clip; // of the target
    int look = 0;    // which of the prepared looks: 0 the current one, 1 the next
};

/// One step of a prepared drawing. Positions are pixels from the corner of the view's drawing.
struct CDrawRecord {
    CImagePlacement placement;          // of an image
    const CImageLayer* layer = nullptr; // null: a filled rectangle
    int x = 0;
    int y = 0;
    CPixelRect clip; // for a fill the rectangle
    CDrawColor color;
    int paletteIndex = 255;
    double opacity = 1.0;
    double scale = 1.0;
};

/// What a view draws in one look: computed once when something changed, replayed at each frame.
using CPreparedDraw = CVector<CDrawRecord, 0>;

} // namespace lum
