#pragma once

#include "UI/CViewArea.h"
#include "UI/CWindowBase.h"

namespace lum {

/// The placement of a view: its area in the layout network, its visibility and opacity. First of
/// the chain of view classes. Owned by its parent object; the area ends with it. Interface thread.
class CViewBasePlacement : public CObject, public CViewAreaUpdateHandler {
public:
    CViewBasePlacement() = default;
    ~CViewBasePlacement() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;
    void detachFromParent() override;

    // Attributes, in the order of their handlers.
    virtual CErrorResult attrAlignmentH(const CAttrEntry& value);
    virtual CErrorResult attrAlignmentV(const CAttrEntry& value);
    virtual CErrorResult attrCompactWidth(const CAttrEntry& value);
    virtual CErrorResult attrCompactHeight(const CAttrEntry& value);
    virtual CErrorResult attrDrawOpacity(const CAttrEntry& value);
    virtual CErrorResult attrInlineAlignmentH(const CAttrEntry& value);
    virtual CErrorResult attrInlineAlignmentV(const CAttrEntry& value);
    virtual CErrorResult attrInnerBorder(const CAttrEntry& value);
    virtual CErrorResult attrIsDisabled(const CAttrEntry& value);
    virtual CErrorResult attrIsHidden(const CAttrEntry& value);
    virtual CErrorResult attrIsVisible(const CAttrEntry& value);
    virtual CErrorResult attrIsInlineVertical(const CAttrEntry& value);
    virtual CErrorResult attrIsNewInlineRow(const CAttrEntry& value);
    virtual CErrorResult attrMaxWidth(const CAttrEntry& value);
    virtual CErrorResult attrMaxHeight(const CAttrEntry& value);
    virtual CErrorResult attrMinWidth(const CAttrEntry& value);
    virtual CErrorResult attrMinHeight(const CAttrEntry& value);
    virtual CErrorResult attrMinRatioX(const CAttrEntry& value);
    virtual CErrorResult attrMinRatioY(const CAttrEntry& value);
    virtual CErrorResult attrOffsetX(const CAttrEntry& value);
    virtual CErrorResult attrOffsetY(const CAttrEntry& value);
    virtual CErrorResult attrOpacity(const CAttrEntry& value);
    virtual CErrorResult attrOuterBorder(const CAttrEntry& value);
    virtual CErrorResult attrPlacement(const CAttrEntry& value);
    virtual CErrorResult attrRatioX(const CAttrEntry& value);
    virtual CErrorResult attrRatioY(const CAttrEntry& value);
    virtual CErrorResult attrScrollerWidth(const CAttrEntry& value);
    virtual CErrorResult attrScrollerHeight(const CAttrEntry& value);
    virtual CErrorResult attrSpread(const CAttrEntry& value);
    virtual CErrorResult attrWidth(const CAttrEntry& value);
    virtual CErrorResult attrHeight(const CAttrEntry& value);
    CErrorResult attrIsWeakHide(const CAttrEntry& value);
    CErrorResult attrIsScrollable(const CAttrEntry& value);
    CErrorResult attrIsAutoRatioX(const CAttrEntry& value);
    CErrorResult attrIsAutoRatioY(const CAttrEntry& value);
    CErrorResult attrPlacementMatch(const CAttrEntry& value);

    CViewArea* getArea() const { return viewArea.get(); }
    CWindowBase* getWindow() const { return window; }
    CViewBasePlacement* getParentView() const { return parentView; }
    const CVector<CViewBasePlacement*, 4>& getChildViews() const { return childViews; }
    const CViewRect& getRect() const { return rect; } // pixels of the window
    /// The rectangle with `spread`, in which the view draws.
    CViewRect getDrawRect() const;
    /// Opacity with that of the ancestors.
    double getFinalOpacity() const { return finalOpacity; }
    /// False when this view or an ancestor is hidden.
    bool isShown() const { return shownInTree; }
    /// True when this view or an ancestor is disabled.
    bool isDisabledInTree() const;

protected:
    /// The view draws something else, or becomes visible or hidden.
    virtual void onVisibilityChanged() {}
    virtual void onOpacityChanged() {}
    virtual void onDisabledChanged() {}
    virtual void onSpreadChanged() {}
    /// Tells the area how large the content is; for views whose content is not their children.
    virtual void updateCompactSize() {}
    /// Gives the size back to the placement, as if the attribute had never been there.
    CErrorResult unsetSize(int axis);
    /// Follows the content with ratio and offset; for views that scroll.
    void updateScroll();

    CWindowBase* window = nullptr;
    CViewRect rect;

private:
    CErrorResult parseAlign(MetricAlign& out, const CAttrEntry& value, int axis,
                            const char* prefix);
    CErrorResult parseSize(CSizeRule& out, const CString& text, int axis);
    CErrorResult setLimit(const CAttrEntry& value, int axis,
                          void (CViewArea::*setter)(int, CSizeRule));
    CErrorResult setAlign(const CAttrEntry& value, int axis);
    CErrorResult setInlineAlign(const CAttrEntry& value, int axis);
    CErrorResult setCompact(const CAttrEntry& value, int axis);
    CErrorResult setOffset(int axis);
    CErrorResult setRatio(int axis);
    CErrorResult setAutoRatio(const CAttrEntry& value, int axis);
    CErrorResult setSizeRule(const CAttrEntry& value, int axis);
    CErrorResult resolveMatch();
    void updateShown();
    void updateFinalOpacity(bool withChildren);
    void followContent(int axis);

    std::unique_ptr<CViewArea> viewArea; // from init until the view leaves the tree
    CViewBasePlacement* parentView = nullptr;
    CVector<CViewBasePlacement*, 4> childViews; // in tree order
    double ownOpacity = 1.0;
    double drawOpacity = 1.0;
    double finalOpacity = 1.0;
    double minRatio[2] = {0.0001, 0.0001};
    bool autoRatio[2] = {false, false};
    bool isUnsettingSize = false; // the empty size is meant
    bool ownHidden = false;
    bool ownVisible = true;
    bool ownDisabled = false;
    bool shownInTree = true;
};

} // namespace lum
