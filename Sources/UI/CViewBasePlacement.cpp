#include "UI/CViewBasePlacement.h"

namespace lum {

namespace {

using C = CViewBasePlacement;
constexpr CAttrRow<C> kAttrs[] = {
    {"alignment-h", &C::attrAlignmentH},              // "left", "center", "right"
    {"alignment-v", &C::attrAlignmentV},              // "top", "center", "bottom"
    {"compact-width", &C::attrCompactWidth},          // "auto", or 0: off
    {"compact-height", &C::attrCompactHeight},        // the same
    {"draw-opacity", &C::attrDrawOpacity},            // 0 to 1, of this view and its children
    {"inline-alignment-h", &C::attrInlineAlignmentH}, // of the rows of inline children
    {"inline-alignment-v", &C::attrInlineAlignmentV}, // the same
    {"inner-border", &C::attrInnerBorder},            // border syntax, interface units
    {"is-disabled", &C::attrIsDisabled},              // Boolean
    {"is-hidden", &C::attrIsHidden},                  // Boolean
    {"is-visible", &C::attrIsVisible},                // Boolean
    {"is-inline-vertical", &C::attrIsInlineVertical}, // rows become columns
    {"is-new-inline-row", &C::attrIsNewInlineRow},    // starts a row
    {"max-width", &C::attrMaxWidth},                  // size syntax
    {"max-height", &C::attrMaxHeight},                // size syntax
    {"min-width", &C::attrMinWidth},                  // size syntax
    {"min-height", &C::attrMinHeight},                // size syntax
    {"min-ratio-x", &C::attrMinRatioX},               // smallest visible part
    {"min-ratio-y", &C::attrMinRatioY},               // the same
    {"offset-x", &C::attrOffsetX},                    // scroll position, part of the content
    {"offset-y", &C::attrOffsetY},                    // the same
    {"opacity", &C::attrOpacity},                     // 0 to 1, of this view alone
    {"outer-border", &C::attrOuterBorder},            // border syntax
    {"placement", &C::attrPlacement},                 // word of the table below
    {"ratio-x", &C::attrRatioX},                      // visible part of the content
    {"ratio-y", &C::attrRatioY},                      // the same
    {"scroller-width", &C::attrScrollerWidth},        // interface units
    {"scroller-height", &C::attrScrollerHeight},      // interface units
    {"spread", &C::attrSpread},                       // border syntax, of the drawing alone
    {"width", &C::attrWidth},                         // size syntax
    {"height", &C::attrHeight},                       // size syntax
    {"is-weak-hide", &C::attrIsWeakHide},             // hiding keeps the room
    {"is-scrollable", &C::attrIsScrollable},          // the content may be larger than the view
    {"is-auto-ratio-x", &C::attrIsAutoRatioX},        // ratio follows the content's size
    {"is-auto-ratio-y", &C::attrIsAutoRatioY},        // the same
    {"placement-match", &C::attrPlacementMatch},      // path of the view for "match"
};

struct CPlacementName {
    const char* name;
    Placement placement;
};

constexpr CPlacementName kPlacements[] = {
    {"inline", Placement::Inline},
    {"full", Placement::Full},
    {"top", Placement::Top},
    {"bottom", Placement::Bottom},
    {"left", Placement::Left},
    {"right", Placement::Right},
    {"overlay", Placement::Overlay},
    {"window-overlay", Placement::WindowOverlay},
    {"match", Placement::Match},
    {"scroller-h", Placement::ScrollerH},
    {"scroller-v", Placement::ScrollerV},
    {"scroller-p", Placement::ScrollerP},
};

constexpr const char* kAlignNames[2][3] = {{"left", "center", "right"},
                                           {"top", "center", "bottom"}};
constexpr const char* kAxisNames[2] = {"h", "v"};
constexpr const char* kRatioNames[2] = {"ratio-x", "ratio-y"};
constexpr const char* kSizeNames[2] = {"width", "height"};
constexpr const char* kOffsetNames[2] = {"offset-x", "offset-y"};
constexpr double kSmallestRatio = 0.0001;
constexpr double kWholeRatio = 0.99; // from here on the content counts as wholly visible
constexpr const char* kCompactWord = "compact";
constexpr size_t kCompactLength = 7; // characters

bool parsePercent(double& out, const CString& text) {
    if (!text.endsWith("%")) return false;
    if (!text.substring(0, static_cast<int>(text.length()) - 1).parseReal(out)) return false;
    out *= 0.01;
    return true;
}

CViewBorder borderOf(const CAttrEntry& value) {
    CViewBorder border;
    border.parse(value.text()); // a fault is in the log
    return border;
}

} // namespace

void CViewBasePlacement::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
}

CViewBasePlacement::~CViewBasePlacement() = default;

// ---- Life

CErrorResult CViewBasePlacement::init() {
    CObject* above = getParent();
    while (above && !dynamic_cast<CViewBasePlacement*>(above)) above = above->getParent();
    parentView = dynamic_cast<CViewBasePlacement*>(above);
    window = parentView ? parentView->window : findWindow(*this);
    if (window) {
        CViewArea* parentArea = parentView ? parentView->viewArea.get() : nullptr;
        viewArea = std::make_unique<CViewArea>(window->metrics(), parentArea, this);
    }
    if (parentView) parentView->childViews.push_back(this);
    updateShown();
    updateFinalOpacity(false);
    LUM_TRY(CObject::init());
    return nullptr;
}

CErrorResult CViewBasePlacement::initDone() {
    LUM_TRY(resolveMatch());
    LUM_TRY(CObject::initDone());
    return nullptr;
}

// The area leaves the network while the parent's is still there.
void CViewBasePlacement::detachFromParent() {
    viewArea.reset();
    if (parentView) {
        auto& list = parentView->childViews;
        size_t place = list.size();
        while (place > 0 && list[place - 1] != this) place--;
        if (place > 0) list.erase(place - 1);
        parentView = nullptr;
    }
    CObject::detachFromParent();
}

// ---- Alignment, borders and flags

CErrorResult CViewBasePlacement::parseAlign(MetricAlign& out, const CAttrEntry& value, int axis,
                                            const char* prefix) {
    const CString text = value.text();
    for (const int index : {0, 1, 2}) {
        if (text != kAlignNames[axis][index]) continue;
        out = static_cast<MetricAlign>(index - 1);
        return nullptr;
    }
    const CString message = CString("@lumstr_CViewBasePlacement_parseAlign_Invalid Invalid ") +
                            prefix + "alignment-" + kAxisNames[axis] + " '%1'.";
    return LUM_FAIL(message, text);
}

CErrorResult CViewBasePlacement::setAlign(const CAttrEntry& value, int axis) {
    MetricAlign align = MetricAlign::Center;
    LUM_TRY(parseAlign(align, value, axis, ""));
    if (viewArea) viewArea->setAlignment(axis, align);
    return nullptr;
}

CErrorResult CViewBasePlacement::setInlineAlign(const CAttrEntry& value, int axis) {
    MetricAlign align = MetricAlign::Center;
    LUM_TRY(parseAlign(align, value, axis, "inline-"));
    if (viewArea) viewArea->setInlineAlignment(axis, align);
    return nullptr;
}

CErrorResult CViewBasePlacement::attrAlignmentH(const CAttrEntry& value) {
    return setAlign(value, kAxisX);
}

CErrorResult CViewBasePlacement::attrAlignmentV(const CAttrEntry& value) {
    return setAlign(value, kAxisY);
}

CErrorResult CViewBasePlacement::attrInlineAlignmentH(const CAttrEntry& value) {
    return setInlineAlign(value, kAxisX);
}

CErrorResult CViewBasePlacement::attrInlineAlignmentV(const CAttrEntry& value) {
    return setInlineAlign(value, kAxisY);
}

CErrorResult CViewBasePlacement::setCompact(const CAttrEntry& value, int axis) {
    if (viewArea) viewArea->setCompactEnabled(axis, value.text() != "0");
    updateCompactSize(); // switched on again, the compact size would be that of the children
    return nullptr;
}

CErrorResult CViewBasePlacement::attrCompactWidth(const CAttrEntry& value) {
    return setCompact(value, kAxisX);
}

CErrorResult CViewBasePlacement::attrCompactHeight(const CAttrEntry& value) {
    return setCompact(value, kAxisY);
}

CErrorResult CViewBasePlacement::attrInnerBorder(const CAttrEntry& value) {
    const CViewBorder border = borderOf(value);
    if (!viewArea || viewArea->getInnerBorder() == border) return nullptr;
    viewArea->setInnerBorder(border);
    onSpreadChanged(); // what is drawn inside it stands elsewhere
    return nullptr;
}

CErrorResult CViewBasePlacement::attrOuterBorder(const CAttrEntry& value) {
    if (viewArea) viewArea->setOuterBorder(borderOf(value));
    return nullptr;
}

CErrorResult CViewBasePlacement::attrSpread(const CAttrEntry& value) {
    const CViewBorder spread = borderOf(value);
    if (!viewArea || viewArea->getSpread() == spread) return nullptr;
    viewArea->setSpread(spread);
    onSpreadChanged();
    return nullptr;
}

CViewRect CViewBasePlacement::getDrawRect() const {
    return viewArea ? rect.grown(viewArea->getSpread(), window->scale()) : rect;
}

CErrorResult CViewBasePlacement::attrIsInlineVertical(const CAttrEntry& value) {
    if (viewArea) viewArea->setInlineVertical(value.boolOr(false));
    return nullptr;
}

CErrorResult CViewBasePlacement::attrIsNewInlineRow(const CAttrEntry& value) {
    if (viewArea) viewArea->setNewInlineRow(value.boolOr(false));
    return nullptr;
}

// ---- Placement

CErrorResult CViewBasePlacement::attrPlacement(const CAttrEntry& value) {
    const CString text = value.text();
    for (const CPlacementName& row : kPlacements) {
        if (text != row.name) continue;
        if (viewArea) viewArea->setPlacement(row.placement);
        return getState() >= 3 ? resolveMatch() : nullptr;
    }
    return LUM_FAIL("@lumstr_CViewBasePlacement_attrPlacement_Invalid Invalid placement '%1'.",
                    text);
}

CErrorResult CViewBasePlacement::attrPlacementMatch(const CAttrEntry&) {
    return getState() >= 3 ? resolveMatch() : nullptr;
}

CErrorResult CViewBasePlacement::resolveMatch() {
    if (!viewArea || getAttrString("placement") != "match") return nullptr;
    const CString path = getAttrString("placement-match");
    auto* target = findAs<CViewBasePlacement>(path);
    if (!target || !target->viewArea || target->window != window)
        return LUM_FAIL("@lumstr_CViewBasePlacement_resolveMatch_Invalid Invalid match '%1'.",
                        path);
    viewArea->setMatch(target->viewArea.get());
    return nullptr;
}

// ---- Sizes

CErrorResult CViewBasePlacement::parseSize(CSizeRule& out, const CString& text, int axis) {
    if (text == "balanced") {
        out = {SizeMode::Balanced, 0.0};
    } else if (text == "full-simple") {
        out = {SizeMode::FullSimple, 0.0};
    } else if (text == kCompactWord) {
        out = {SizeMode::Compact, 0.0};
    } else if (text.startsWith(kCompactWord)) {
        double part = 0.0;
        if (!parsePercent(part, text.substring(kCompactLength).trimmed()))
            return axis == kAxisX
                       ? LUM_FAIL("@lumstr_CViewBasePlacement_parseSize_CompactWidth Invalid "
                                  "compact width syntax '%1'.",
                                  text)
                       : LUM_FAIL("@lumstr_CViewBasePlacement_parseSize_CompactHeight Invalid "
                                  "compact height syntax '%1'.",
                                  text);
        out = {SizeMode::CompactFull, part};
    } else if (double number = 0.0; parsePercent(number, text)) {
        out = {SizeMode::Percent, number};
    } else if (text.parseReal(number)) {
        out = {SizeMode::Number, number};
    } else {
        return axis == kAxisX
                   ? LUM_FAIL(
                         "@lumstr_CViewBasePlacement_parseSize_Width Invalid width syntax '%1'.",
                         text)
                   : LUM_FAIL(
                         "@lumstr_CViewBasePlacement_parseSize_Height Invalid height syntax '%1'.",
                         text);
    }
    return nullptr;
}

CErrorResult CViewBasePlacement::setSizeRule(const CAttrEntry& value, int axis) {
    const CString text = value.text();
    if (text.empty() && isUnsettingSize) {
        if (viewArea) viewArea->setSize(axis, {});
        return nullptr;
    }
    if (text.empty())
        return axis == kAxisX
                   ? LUM_FAIL(
                         "@lumstr_CViewBasePlacement_setSizeRule_EmptyWidth Width cannot be empty.")
                   : LUM_FAIL("@lumstr_CViewBasePlacement_setSizeRule_EmptyHeight Height cannot be "
                              "empty.");
    CSizeRule rule;
    LUM_TRY(parseSize(rule, text, axis));
    if (viewArea) viewArea->setSize(axis, rule);
    return nullptr;
}

CErrorResult CViewBasePlacement::unsetSize(int axis) {
    isUnsettingSize = true;
    CErrorResult error = setAttrValue(kSizeNames[axis], CAttrEntry(), true);
    isUnsettingSize = false;
    return error;
}

// An empty limit is none.
CErrorResult CViewBasePlacement::setLimit(const CAttrEntry& value, int axis,
                                          void (CViewArea::*setter)(int, CSizeRule)) {
    const CString text = value.text();
    CSizeRule rule;
    if (!text.empty()) LUM_TRY(parseSize(rule, text, axis));
    if (viewArea) (viewArea.get()->*setter)(axis, rule);
    return nullptr;
}

CErrorResult CViewBasePlacement::attrWidth(const CAttrEntry& value) {
    return setSizeRule(value, kAxisX);
}

CErrorResult CViewBasePlacement::attrHeight(const CAttrEntry& value) {
    return setSizeRule(value, kAxisY);
}

CErrorResult CViewBasePlacement::attrMaxWidth(const CAttrEntry& value) {
    return setLimit(value, kAxisX, &CViewArea::setMax);
}

CErrorResult CViewBasePlacement::attrMaxHeight(const CAttrEntry& value) {
    return setLimit(value, kAxisY, &CViewArea::setMax);
}

CErrorResult CViewBasePlacement::attrMinWidth(const CAttrEntry& value) {
    return setLimit(value, kAxisX, &CViewArea::setMin);
}

CErrorResult CViewBasePlacement::attrMinHeight(const CAttrEntry& value) {
    return setLimit(value, kAxisY, &CViewArea::setMin);
}

// ---- Scrolling

CErrorResult CViewBasePlacement::attrIsScrollable(const CAttrEntry& value) {
    if (viewArea) viewArea->setScrollable(value.boolOr(false));
    return nullptr;
}

CErrorResult CViewBasePlacement::attrScrollerWidth(const CAttrEntry& value) {
    if (viewArea) viewArea->setScroller(kAxisX, value.realOr(0.0));
    return nullptr;
}

CErrorResult CViewBasePlacement::attrScrollerHeight(const CAttrEntry& value) {
    if (viewArea) viewArea->setScroller(kAxisY, value.realOr(0.0));
    return nullptr;
}

CErrorResult CViewBasePlacement::setAutoRatio(const CAttrEntry& value, int axis) {
    autoRatio[axis] = value.boolOr(false);
    if (viewArea) viewArea->setAutoRatio(axis, autoRatio[axis]);
    return nullptr;
}

CErrorResult CViewBasePlacement::attrIsAutoRatioX(const CAttrEntry& value) {
    return setAutoRatio(value, kAxisX);
}

CErrorResult CViewBasePlacement::attrIsAutoRatioY(const CAttrEntry& value) {
    return setAutoRatio(value, kAxisY);
}

CErrorResult CViewBasePlacement::attrMinRatioX(const CAttrEntry& value) {
    minRatio[kAxisX] = std::clamp(value.realOr(kSmallestRatio), kSmallestRatio, 1.0);
    return setRatio(kAxisX);
}

CErrorResult CViewBasePlacement::attrMinRatioY(const CAttrEntry& value) {
    minRatio[kAxisY] = std::clamp(value.realOr(kSmallestRatio), kSmallestRatio, 1.0);
    return setRatio(kAxisY);
}

CErrorResult CViewBasePlacement::attrRatioX(const CAttrEntry&) {
    return setRatio(kAxisX);
}

CErrorResult CViewBasePlacement::attrRatioY(const CAttrEntry&) {
    return setRatio(kAxisY);
}

CErrorResult CViewBasePlacement::attrOffsetX(const CAttrEntry&) {
    return setOffset(kAxisX);
}

CErrorResult CViewBasePlacement::attrOffsetY(const CAttrEntry&) {
    return setOffset(kAxisY);
}

CErrorResult CViewBasePlacement::setRatio(int axis) {
    if (viewArea)
        viewArea->setRatio(axis, std::max(getAttrReal(kRatioNames[axis], 1.0), minRatio[axis]));
    return setOffset(axis);
}

// The content stays in view.
CErrorResult CViewBasePlacement::setOffset(int axis) {
    if (!viewArea) return nullptr;
    const double most = std::max(0.0, 1.0 - viewArea->value(Metric::Ratio, axis));
    viewArea->setOffset(axis, std::clamp(getAttrReal(kOffsetNames[axis]), 0.0, most));
    return nullptr;
}

void CViewBasePlacement::updateScroll() {
    if (!viewArea->isScrollable()) return;
    for (const int axis : {kAxisX, kAxisY}) followContent(axis);
    logAndDropError(fireEvent("update-scroller", false));
}

// Both attributes are read back, so that whoever shows them sees what holds.
void CViewBasePlacement::followContent(int axis) {
    if (autoRatio[axis]) {
        const double viewport =
            viewArea->value(Metric::Size, axis) - viewArea->value(Metric::Scroller, axis);
        const double content = viewArea->value(Metric::Compact, axis) +
                               viewArea->value(Metric::InnerNear, axis) +
                               viewArea->value(Metric::InnerFar, axis);
        const double part = content > 0.0 ? viewport / content : 1.0;
        const double ratio = part < kWholeRatio ? std::max(part, minRatio[axis]) : 1.0;
        if (ratio != getAttrReal(kRatioNames[axis], 1.0))
            logAndDropError(setAttrValue(kRatioNames[axis], CAttrEntry::ofReal(ratio), true));
    }
    const double offset = viewArea->value(Metric::Offset, axis);
    if (offset != getAttrReal(kOffsetNames[axis]))
        logAndDropError(setAttrValue(kOffsetNames[axis], CAttrEntry::ofReal(offset), true));
}

// ---- Visibility and opacity

CErrorResult CViewBasePlacement::attrIsHidden(const CAttrEntry& value) {
    ownHidden = value.boolOr(false);
    updateShown();
    return nullptr;
}

CErrorResult CViewBasePlacement::attrIsVisible(const CAttrEntry& value) {
    ownVisible = value.boolOr(true);
    updateShown();
    return nullptr;
}

CErrorResult CViewBasePlacement::attrIsWeakHide(const CAttrEntry& value) {
    if (viewArea) viewArea->setWeakHide(value.boolOr(false));
    return nullptr;
}

void CViewBasePlacement::updateShown() {
    const bool isOwnShown = ownVisible && !ownHidden;
    if (viewArea) viewArea->setVisible(isOwnShown);
    const bool isNowShown = isOwnShown && (!parentView || parentView->shownInTree);
    if (isNowShown == shownInTree) return;
    shownInTree = isNowShown;
    onVisibilityChanged();
    for (CViewBasePlacement* child : childViews) child->updateShown();
}

CErrorResult CViewBasePlacement::attrOpacity(const CAttrEntry& value) {
    ownOpacity = std::clamp(value.realOr(1.0), 0.0, 1.0);
    updateFinalOpacity(false);
    return nullptr;
}

CErrorResult CViewBasePlacement::attrDrawOpacity(const CAttrEntry& value) {
    drawOpacity = std::clamp(value.realOr(1.0), 0.0, 1.0);
    updateFinalOpacity(true);
    return nullptr;
}

void CViewBasePlacement::updateFinalOpacity(bool withChildren) {
    double inherited = 1.0;
    for (const CViewBasePlacement* view = parentView; view; view = view->parentView)
        inherited *= view->drawOpacity;
    const double now = ownOpacity * drawOpacity * inherited;
    if (now != finalOpacity) {
        finalOpacity = now;
        onOpacityChanged();
    }
    if (!withChildren) return;
    for (CViewBasePlacement* child : childViews) child->updateFinalOpacity(true);
}

CErrorResult CViewBasePlacement::attrIsDisabled(const CAttrEntry& value) {
    const bool isWanted = value.boolOr(false);
    if (std::exchange(ownDisabled, isWanted) != isWanted) onDisabledChanged();
    return nullptr;
}

bool CViewBasePlacement::isDisabledInTree() const {
    for (const CViewBasePlacement* view = this; view; view = view->parentView)
        if (view->ownDisabled) return true;
    return false;
}

} // namespace lum
