#pragma once

#include "Core/CEventBridge.h"
#include "UI/CView.h"
#include "UI/CViewMetrics.h"

namespace lum {

/// `ui:headless-window`: a window without a window system. Lays out the tree of its root view,
/// prepares it and paints it into a bitmap, at a clock that the caller holds. What is below it
/// lives on the thread that made it, and all its operations belong to that thread. For tools and
/// tests.
class CHeadlessWindow : public CStdEventBridge,
                        public CWindowBase,
                        public CWindowSharedBase,
                        public CSectorMapBase {
public:
    CHeadlessWindow();
    ~CHeadlessWindow() override;
    static void fillClass(CClassInfo& info);
    void prepareDestroy() override;

    /// Size of the window in pixels, for a root view that does not size itself.
    void setWindowSize(double width, double height);
    void setScale(double newScale);
    /// Moves the clock, giving every timer group its ticks on the way. Seconds, never backward.
    CErrorResult advanceTo(double seconds);
    /// One frame without drawing: `render` to what moves, layout, preparation.
    CErrorResult frame();
    /// Draws all views, in their order, into the bitmap, whose corner is the window's pixel
    /// originX, originY. Only the clip is touched.
    CErrorResult paint(CLinearBitmap& target, int originX, int originY, const CPixelRect& clip);
    /// One frame and all of it in a bitmap of the root view's size.
    CErrorResult paintAll(CLinearBitmap& target);
    CView* getRootView() const;
    /// One line for each view: name, position and size.
    CString dumpLayout() const;
    /// What was marked since the last call, in order.
    CVector<CViewRect, 4> takeDirty() { return std::exchange(dirty, {}); }
    /// Views in drawing order.
    CVector<CView*, 0> drawingOrder() const;

    // CWindowBase
    CViewMetrics& metrics() override { return *network; }
    CSectorMapBase* sectorMap() override { return this; }
    CWindowSharedBase& shared() override { return *this; }
    CObject& windowObject() override { return *this; }
    double scale() const override { return currentScale; }
    void queuePrepare(CView& view) override;
    void unqueuePrepare(CView& view) override;
    // CWindowSharedBase
    double clock() const override { return now; }
    CUpdateTimerGroup* getUpdateTimerGroup(int periodMs) override;
    void removeTimer(CUpdateTimer& timer) override;
    void queuePlacement(CImagePlacement& out, const CImageLayer& layer, const CDrawColor& color,
                        double opacity, double scale) override;
    // CSectorMapBase
    void enter(CView& view, const CViewRect& shown) override;
    void leave(CView& view) override;
    void markDirty(const CViewRect& rect, CView& view) override;
    void addDirtyRect(const CViewRect& rect) override;

private:
    struct CGroupClock {
        CUpdateTimerGroup* group = nullptr;
        double next = 0.0; // clock of its next tick
    };

    CErrorResult prepareQueued();
    void placeRoot();
    void collect(CVector<CView*, 0>& out, CObject& object) const;
    void dump(CString& out, const CObject& object, int level) const;

    std::unique_ptr<CViewMetrics> network;
    CMap<int, CGroupClock> groups; // by period in milliseconds
    CSet<CView*> entered;
    CVector<CView*, 0> prepareQueue;
    CVector<CViewRect, 4> dirty;
    CLinearBitmap scratch[2];
    double now = 0.0; // seconds
    double currentScale = 1.0;
    double width = 640.0;
    double height = 400.0;
    bool isContentReady = false;
};

} // namespace lum
