#include "UI/CView.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

// The place of a view in its window, and its events.

namespace lum {

namespace {

using C = CView;
constexpr CAttrRow<C> kAttrs[] = {
    {"unclip-level", &C::attrUnclipLevel},                // ancestors that do not clip the view
    {"is-gradient-animated", &C::attrIsGradientAnimated}, // Boolean
    {"debug-area", &C::attrDebugArea},                    // marks the view's pixels
};

constexpr CEventRow<C> kEvents[] = {
    {"close-window", &C::onCloseWindow},
    {"drop-files", &C::onDropFiles},
    {"dynamic-palette-updated", &C::onDynamicPaletteUpdated},
    {"gradient-timer", &C::onGradientTimer},
    {"minimize-window", &C::onMinimizeWindow},
    {"pre-close-window", &C::onPreCloseWindow},
    {"popup-closed", &C::onPopupClosed},
    {"popup-created", &C::onPopupCreated},
    {"popup-result", &C::onPopupResult},
    {"popup-toggle", &C::onPopupToggle},
    {"request-view-area-updates", &C::onRequestViewAreaUpdates},
    {"content-ready", &C::onContentReady},
    {"view-ready", &C::onViewReady},
};

constexpr double kSameValue = std::numeric_limits<double>::epsilon();
constexpr double kUnbounded = 1e9; // pixels to each side

bool isSame(double a, double b) {
    return std::fabs(a - b) <= (std::fabs(a) + std::fabs(b)) * kSameValue;
}

} // namespace

void CView::fillClass(CClassInfo& info) {
    CViewBase::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

// ---- Life

CErrorResult CView::init() {
    LUM_TRY(CViewBase::init());
    if (!window || !window->sectorMap())
        return LUM_FAIL("@lumstr_CView_init_NoSectorMap Unable to find sector map.");
    for (CObject* place = this; place && !rootView; place = place->getParent())
        if (place->getAttrBool("is-root-view")) rootView = dynamic_cast<CView*>(place);
    if (!rootView) return LUM_FAIL("@lumstr_CView_init_NoRootView Unable to locate root view.");
    listenObject("ui.palette", "dynamic-palette-updated", "dynamic-palette-updated");
    return nullptr;
}

CErrorResult CView::initDone() {
    LUM_TRY(CViewBase::initDone());
    requestPrepare();
    return nullptr;
}

void CView::prepareDestroy() {
    if (window && window->sectorMap()) {
        if (hasBeenPlaced) {
            window->sectorMap()->addDirtyRect(shownRect);
            window->sectorMap()->leave(*this);
        }
        window->unqueuePrepare(*this);
        for (const int look : {0, 1}) dropPlacements(look);
    }
    followPlace(nullptr);
    for (CView* follower : followers) {
        follower->followed = nullptr;
        follower->requestPrepare();
    }
    followers.clear();
    if (unclipLevel > 0) countUnclipped(-1);
    unclipLevel = 0;
    CViewBase::prepareDestroy();
}

// ---- Place

void CView::onAreaUpdate(double x, double y, double width, double height) {
    updateScroll();
    const bool isFirst = !std::exchange(hasBeenPlaced, true);
    const CViewRect moved{x, y, width, height};
    const bool isMoved = !(isSame(x, rect.x) && isSame(y, rect.y) && isSame(width, rect.width) &&
                           isSame(height, rect.height));
    if (isMoved || isFirst) place(moved);
    CAttrMap arguments;
    if (isFirst) logAndDropError(onViewReady(arguments));
}

void CView::place(const CViewRect& moved) {
    const CPixelRect before = getPixelRect();
    rect = moved;
    const CPixelRect after = getPixelRect();
    const bool isSameSize = before.width() == after.width() && before.height() == after.height();
    const bool isSamePlace = before.left == after.left && before.top == after.top;
    if (!isSameSize || (followed && !isSamePlace)) requestPrepare();
    if (!isSameSize || !isSamePlace) tellFollowers();
    updateClip(ClipAbove::Same);
    invalidate();
    if (this != rootView) return;
    CAttrMap arguments;
    arguments["width"] = CAttrEntry::ofReal(rect.width);
    arguments["height"] = CAttrEntry::ofReal(rect.height);
    logAndDropError(fireEvent("update-window-bounds", arguments, false));
}

CErrorResult CView::attrUnclipLevel(const CAttrEntry& value) {
    const int level = std::max(value.intOr(0), 0);
    if (level == unclipLevel) return nullptr;
    countUnclipped((level > 0 ? 1 : 0) - (unclipLevel > 0 ? 1 : 0));
    unclipLevel = level;
    if (hasBeenPlaced) updateClip(ClipAbove::Same);
    return nullptr;
}

void CView::countUnclipped(int count) {
    if (count == 0) return;
    for (CViewBasePlacement* above = getParentView(); above; above = above->getParentView())
        if (auto* view = dynamic_cast<CView*>(above)) view->unclippedBelow += count;
}

const CView* CView::clippingView() const {
    const CViewBasePlacement* above = getParentView();
    for (int level = 0; above && level < unclipLevel; level++) above = above->getParentView();
    return dynamic_cast<const CView*>(above);
}

// Children that do not move themselves are clipped anew with this view, and so are those further
// below that ignore the ones between. What the view leaves is drawn anew.
void CView::updateClip(ClipAbove above) {
    const CView* clipping = clippingView();
    const CViewRect clip =
        clipping ? clipping->childClip
                 : CViewRect{-kUnbounded, -kUnbounded, 2.0 * kUnbounded, 2.0 * kUnbounded};
    const CViewRect shown = getDrawRect().intersected(clip);
    const CViewRect inside = rect.intersected(clip);
    const bool isNewForChildren = !(inside == childClip);
    childClip = inside;
    if (!(shown == shownRect)) {
        CSectorMapBase* map = window->sectorMap();
        if (map && !shownRect.empty()) map->addDirtyRect(shownRect);
        shownRect = shown;
        if (map) map->enter(*this, shownRect);
    }
    const bool isNewFurtherBelow = above == ClipAbove::New && unclippedBelow > 0;
    if (!isNewForChildren && !isNewFurtherBelow) return;
    for (CViewBasePlacement* child : getChildViews())
        if (auto* view = dynamic_cast<CView*>(child); view && view->hasBeenPlaced)
            view->updateClip(ClipAbove::New);
}

// The spread is in interface units.
void CView::onScaleChanged() {
    if (hasBeenPlaced) updateClip(ClipAbove::Same);
    requestPrepare();
}

void CView::onSpreadChanged() {
    if (!hasBeenPlaced) return;
    updateClip(ClipAbove::Same);
    requestPrepare();
    tellFollowers();
}

void CView::followPlace(CView* other) {
    if (other == followed) return;
    if (followed) {
        auto& list = followed->followers;
        list.erase(static_cast<size_t>(std::find(list.begin(), list.end(), this) - list.begin()));
    }
    followed = other;
    if (followed) followed->followers.push_back(this);
}

void CView::tellFollowers() {
    for (CView* follower : followers) follower->requestPrepare();
}

void CView::onZChanged() {
    if (!hasBeenPlaced) return;
    window->sectorMap()->enter(*this, shownRect);
    invalidate();
}

CPixelRect CView::getPixelRect() const {
    const CViewRect area = getDrawRect();
    const auto rounded = [](double v) { return static_cast<int>(std::lround(v)); };
    return {rounded(area.x), rounded(area.y), rounded(area.x + area.width),
            rounded(area.y + area.height)};
}

// ---- Drawing requests

void CView::invalidate() {
    if (hasBeenPlaced && window->sectorMap()) window->sectorMap()->markDirty(shownRect, *this);
}

void CView::requestPrepare() {
    if (!window) return;
    if (!std::exchange(isPrepareQueued, true)) window->queuePrepare(*this);
    invalidate();
}

CErrorResult CView::onPrepareColor() {
    requestPrepare();
    tellSharers();
    return nullptr;
}

void CView::onLookChanged() {
    requestPrepare();
    tellSharers();
}

CErrorResult CView::prepare() {
    isPrepareQueued = false;
    const CLookCrossfade& fade = getCrossfade();
    buildLook(0, fade.getCurrent());
    if (fade.isRunning())
        buildLook(1, fade.getTarget());
    else
        dropPlacements(1);
    return nullptr;
}

CErrorResult CView::attrDebugArea(const CAttrEntry& value) {
    const bool isWanted = value.boolOr(false);
    if (std::exchange(isAreaShown, isWanted) != isWanted) invalidate();
    return nullptr;
}

// ---- Moving gradient

CErrorResult CView::attrIsGradientAnimated(const CAttrEntry& value) {
    const bool isWanted = value.boolOr(false);
    if (isWanted == isGradientMoving || !window) return nullptr;
    isGradientMoving = isWanted;
    if (isWanted) {
        gradientStart = window->shared().clock();
        holdFrames();
    } else {
        releaseFrames();
        setGradientPosition(0.0);
    }
    return nullptr;
}

CErrorResult CView::timer() {
    if (isGradientMoving) LUM_TRY(onGradientTimer());
    return CViewBase::timer();
}

CErrorResult CView::onGradientTimer() {
    const double pi = std::numbers::pi;
    const double time = window->shared().clock() - gradientStart;
    const double position = 0.5 + 0.5 * std::sin(time * 20.0 / pi - pi / 2.0);
    if (!isSame(position, getGradientPosition())) setGradientPosition(position);
    return nullptr;
}

CErrorResult CView::onDynamicPaletteUpdated() {
    invalidateColors();
    return onPaletteChanged();
}

// ---- Events of windows

CErrorResult CView::passToWindow(const char* event, CAttrMap& arguments) {
    LUM_TRY(window->onViewRequest(*this, event, arguments));
    return finishEvent(event, arguments);
}

CErrorResult CView::onCloseWindow(CAttrMap& arguments) {
    return passToWindow("close-window", arguments);
}

CErrorResult CView::onDropFiles(CAttrMap& arguments) {
    return finishEvent("drop-files", arguments);
}

CErrorResult CView::onMinimizeWindow(CAttrMap& arguments) {
    return passToWindow("minimize-window", arguments);
}

CErrorResult CView::onPreCloseWindow(CAttrMap& arguments) {
    return passToWindow("pre-close-window", arguments);
}

CErrorResult CView::onPopupClosed(CAttrMap& arguments) {
    return passToWindow("popup-closed", arguments);
}

CErrorResult CView::onPopupCreated(CAttrMap& arguments) {
    return passToWindow("popup-created", arguments);
}

CErrorResult CView::onPopupResult(CAttrMap& arguments) {
    return passToWindow("popup-result", arguments);
}

CErrorResult CView::onPopupToggle(CAttrMap& arguments) {
    return passToWindow("popup-toggle", arguments);
}

CErrorResult CView::onRequestViewAreaUpdates() {
    if (getArea()) getArea()->markDirty();
    return nullptr;
}

CErrorResult CView::onContentReady(CAttrMap& arguments) {
    return finishEvent("content-ready", arguments);
}

CErrorResult CView::onViewReady(CAttrMap& arguments) {
    return finishEvent("view-ready", arguments);
}

} // namespace lum
