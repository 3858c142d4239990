#pragma once

#include "UI/CViewBase.h"
#include "UI/CViewContext.h"

namespace lum {

/// A plain view, and the base of all controls: its place in the window's sectors, its prepared
/// drawing, and the events of windows. Last of the chain of view classes. Interface thread, but for
/// `draw` and `render`, which workers of a frame call while nothing changes.
class CView : public CViewBase {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;
    void prepareDestroy() override;
    void onAreaUpdate(double x, double y, double width, double height) override;

    CErrorResult attrUnclipLevel(const CAttrEntry& value);
    CErrorResult attrIsGradientAnimated(const CAttrEntry& value);
    CErrorResult attrDebugArea(const CAttrEntry& value);

    CErrorResult timer() override;
    virtual CErrorResult onCloseWindow(CAttrMap& arguments);
    virtual CErrorResult onDropFiles(CAttrMap& arguments);
    virtual CErrorResult onDynamicPaletteUpdated();
    virtual CErrorResult onGradientTimer();
    virtual CErrorResult onMinimizeWindow(CAttrMap& arguments);
    virtual CErrorResult onPreCloseWindow(CAttrMap& arguments);
    virtual CErrorResult onPopupClosed(CAttrMap& arguments);
    virtual CErrorResult onPopupCreated(CAttrMap& arguments);
    virtual CErrorResult onPopupResult(CAttrMap& arguments);
    virtual CErrorResult onPopupToggle(CAttrMap& arguments);
    virtual CErrorResult onRequestViewAreaUpdates();
    CErrorResult onContentReady(CAttrMap& arguments);
    CErrorResult onViewReady(CAttrMap& arguments);

    /// Draws with opacity and crossfade. Any thread of a frame.
    CErrorResult draw(const CViewContext& context) const;
    /// Computes what `render` will draw, for each look that is in use.
    virtual CErrorResult prepare();

    /// The window has another scale; contents with a size of their own measure themselves anew.
    virtual void onScaleChanged();
    /// Has `prepare` run before the next drawing.
    void requestPrepare();
    /// The part of the window in which the view shows.
    const CViewRect& getShownRect() const { return shownRect; }
    /// The pixels of its drawing, unclipped.
    CPixelRect getPixelRect() const;
    CView* getRootView() const { return rootView; }
    /// True when there is something to draw.
    bool isDrawn() const;
    const CPreparedDraw& getPrepared(int look) const { return prepared[look]; }

protected:
    /// Draws a prepared look at full opacity. Reads prepared data alone.
    virtual void render(const CViewContext& context) const;
    /// Makes the records of one look. The plain view shows its image.
    virtual void prepareLook(CPreparedDraw& out, const CViewLook& look);

    CErrorResult onPrepareColor() override;
    void onLookChanged() override;
    void onCrossfadeStep() override { invalidate(); }
    void onVisibilityChanged() override { invalidate(); }
    void onOpacityChanged() override { invalidate(); }
    void onSpreadChanged() override;
    void onZChanged() override;
    /// The view draws something else.
    void invalidate();
    /// Adds the layers of an image, each in the colour of its slot.
    void addImage(CPreparedDraw& out, const CViewLook& look, const CImage& image, int x, int y,
                  const CPixelRect& clip, double opacity = 1.0);
    static void addFill(CPreparedDraw& out, const CPixelRect& area, const CDrawColor& color,
                        int paletteIndex, double opacity = 1.0);
    /// Size of an image at a scale, from its origin to its far edges.
    static CPixelRect imageBounds(const CImage& image, double scale);
    CPixelRect localBounds() const; // of the drawing, its corner at 0, 0
    /// This view's `prepare` reads where the other one lies beside it; null for none.
    void followPlace(CView* other);

private:
    void place(const CViewRect& moved);
    CErrorResult drawLooks(const CViewContext& context) const;
    CErrorResult drawFaded(const CViewContext& context, int look, double weight) const;
    void buildLook(int index, const CViewLook& look);
    void dropPlacements(int index);
    enum class ClipAbove { Same, New };
    void updateClip(ClipAbove above);
    void countUnclipped(int count);
    void tellFollowers();
    const CView* clippingView() const;
    CErrorResult passToWindow(const char* event, CAttrMap& arguments);

    CView* rootView = nullptr;
    CViewRect shownRect;
    CViewRect childClip; // what of the window children can show in
    CPreparedDraw prepared[2];
    CView* followed = nullptr;
    CVector<CView*, 0> followers; // that prepare anew when this view moves
    int unclipLevel = 0;          // ancestors whose clipping does not count
    int unclippedBelow = 0;       // views that clip against an ancestor of their parent
    bool isPrepareQueued = false;
    bool hasBeenPlaced = false;
    bool isGradientMoving = false;
    bool isAreaShown = false;   // for the search of faults
    double gradientStart = 0.0; // clock
};

} // namespace lum
