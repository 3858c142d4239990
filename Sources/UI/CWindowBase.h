#pragma once

#include "Core/CObject.h"
#include "Other/CImageSet.h"
#include "UI/CViewBorder.h"

#include <algorithm>
#include <cmath>

namespace lum {

class CUpdateTimer;
class CUpdateTimerGroup;
class CView;
class CViewMetrics;

/// A rectangle in pixels of a window.
struct CViewRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
    friend bool operator==(const CViewRect&, const CViewRect&) = default;

    bool empty() const { return !(width > 0.0 && height > 0.0); }
    CViewRect intersected(const CViewRect& other) const {
        const double left = std::max(x, other.x);
        const double top = std::max(y, other.y);
        const double right = std::min(x + width, other.x + other.width);
        const double bottom = std::min(y + height, other.y + other.height);
        return {left, top, std::max(0.0, right - left), std::max(0.0, bottom - top)};
    }
    CViewRect grown(const CViewBorder& by, double scale) const {
        return {x - by.left * scale, y - by.top * scale, width + (by.left + by.right) * scale,
                height + (by.top + by.bottom) * scale};
    }
    /// The pixels that it touches.
    CPixelRect outward() const {
        return {static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)),
                static_cast<int>(std::ceil(x + width)), static_cast<int>(std::ceil(y + height))};
    }
};

/// The grid of sectors of a window, as far as views know it. Interface thread.
class CSectorMapBase : public virtual CCheckedObject {
public:
    /// The view is shown in this part of the window; again after each move or change of order.
    virtual void enter(CView& view, const CViewRect& shown) = 0;
    virtual void leave(CView& view) = 0;
    /// The view draws something else there.
    virtual void markDirty(const CViewRect& rect, CView& view) = 0;
    /// Something moved away from there.
    virtual void addDirtyRect(const CViewRect& rect) = 0;
};

/// What the windows of an interface have in common. Interface thread.
class CWindowSharedBase : public virtual CCheckedObject {
public:
    /// Seconds; read once at each frame.
    virtual double clock() const = 0;
    /// The group for a period in milliseconds, made on first need.
    virtual CUpdateTimerGroup* getUpdateTimerGroup(int periodMs) = 0;
    /// Takes the timer out of its group; a group left empty ends.
    virtual void removeTimer(CUpdateTimer& timer) = 0;
    /// Fills the placement, now or before the next drawing. `out` and the layer stay in place until
    /// then, or until dropPlacement.
    virtual void queuePlacement(CImagePlacement& out, const CImageLayer& layer,
                                const CDrawColor& color, double opacity, double scale) = 0;
    virtual void dropPlacement(CImagePlacement&) {}
};

/// The window around a tree of views: an object above the root view. Interface thread.
class CWindowBase : public virtual CCheckedObject {
public:
    virtual CViewMetrics& metrics() = 0;
    virtual CSectorMapBase* sectorMap() = 0;
    virtual CWindowSharedBase& shared() = 0;
    virtual CObject& windowObject() = 0; // fires `render` at the start of each frame
    virtual double scale() const = 0;    // pixels per interface unit
    /// The view's `prepare` runs before the next drawing.
    virtual void queuePrepare(CView& view) = 0;
    virtual void unqueuePrepare(CView& view) = 0;
    /// What a view asks of the windows: "popup-toggle", "close-window" and their like.
    virtual CErrorResult onViewRequest(CView&, const CString& /*event*/, CAttrMap&) {
        return nullptr;
    }
};

/// The window above an object, or null.
CWindowBase* findWindow(const CObject& object);
/// The data of all windows: of the window above, or the one at its fixed path; or null.
CWindowSharedBase* findWindowShared(const CObject& object);

} // namespace lum
