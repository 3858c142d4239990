#include "UI/CHeadlessWindow.h"

#include "UI/CUpdateTimer.h"
#include "UI/CUpdateTimerGroup.h"

#include <algorithm>
#include <cstdio>

namespace lum {

namespace {

constexpr double kTimeSlack = 1e-9; // seconds, of sums of periods

} // namespace

CHeadlessWindow::CHeadlessWindow() : network(std::make_unique<CViewMetrics>()) {}

CHeadlessWindow::~CHeadlessWindow() = default;

void CHeadlessWindow::fillClass(CClassInfo& info) {
    CStdEventBridge::fillClass(info);
}

void CHeadlessWindow::prepareDestroy() {
    CStdEventBridge::prepareDestroy();
}

CView* CHeadlessWindow::getRootView() const {
    for (CObject* child : getChildren())
        if (auto* view = dynamic_cast<CView*>(child)) return view;
    return nullptr;
}

// ---- Size and time

void CHeadlessWindow::setWindowSize(double newWidth, double newHeight) {
    width = newWidth;
    height = newHeight;
    placeRoot();
}

void CHeadlessWindow::setScale(double newScale) {
    currentScale = newScale;
    network->setValue(network->scaleCell(), newScale);
    CVector<CView*, 0> views; // those not laid out yet too
    for (CObject* child : getChildren()) collect(views, *child);
    for (CView* view : views) view->onScaleChanged();
}

void CHeadlessWindow::placeRoot() {
    if (CView* view = getRootView(); view && view->getArea())
        view->getArea()->setRegion(0.0, 0.0, width, height);
}

CErrorResult CHeadlessWindow::advanceTo(double seconds) {
    for (;;) {
        CGroupClock* first = nullptr;
        for (auto& [period, entry] : groups)
            if (!first || entry.next < first->next) first = &entry;
        if (!first || first->next > seconds + kTimeSlack) break;
        now = std::max(now, first->next);
        first->next += first->group->getPeriod() / 1000.0;
        LUM_TRY(first->group->onSystemTimerTick());
        std::erase_if(groups, [](auto& item) {
            CUpdateTimerGroup* group = item.second.group;
            if (!group->empty()) return false;
            destroyObject(group);
            return true;
        });
    }
    now = std::max(now, seconds);
    return nullptr;
}

CUpdateTimerGroup* CHeadlessWindow::getUpdateTimerGroup(int periodMs) {
    auto [place, isNew] = groups.try_emplace(periodMs);
    if (!isNew) return place->second.group;
    CAttrMap given;
    given["interval"] = CAttrEntry::ofInt(periodMs);
    CUpdateTimerGroup* group = nullptr;
    logAndDropError(
        createChild(group, "ui:update-timer-group", "group-timer", false, nullptr, &given));
    if (!group) {
        groups.erase(place);
        return nullptr;
    }
    place->second = {group, now + periodMs / 1000.0};
    return group;
}

// A group that is ticking ends behind its tick.
void CHeadlessWindow::removeTimer(CUpdateTimer& timer) {
    CUpdateTimerGroup* group = timer.getGroup();
    group->remove(timer);
    if (!group->empty() || group->isTicking()) return;
    groups.erase(group->getPeriod());
    destroyObject(group);
}

// ---- Frames

CErrorResult CHeadlessWindow::frame() {
    placeRoot();
    LUM_TRY(fireEvent("render", false));
    network->updateAreas();
    CView* view = getRootView();
    if (view && !std::exchange(isContentReady, true)) {
        CAttrMap arguments;
        LUM_TRY(view->onContentReady(arguments));
        network->updateAreas();
    }
    LUM_TRY(prepareQueued());
    return nullptr;
}

void CHeadlessWindow::queuePrepare(CView& view) {
    prepareQueue.push_back(&view);
}

void CHeadlessWindow::unqueuePrepare(CView& view) {
    for (CView*& queued : prepareQueue)
        if (queued == &view) queued = nullptr;
}

CErrorResult CHeadlessWindow::prepareQueued() {
    for (size_t i = 0; i < prepareQueue.size(); i++)
        if (prepareQueue[i]) LUM_TRY(prepareQueue[i]->prepare());
    prepareQueue.clear();
    return nullptr;
}

void CHeadlessWindow::queuePlacement(CImagePlacement& out, const CImageLayer& layer,
                                     const CDrawColor& color, double opacity, double layerScale) {
    out = CImagePlacement::prepare(layer, layerScale, color, opacity);
}

// ---- Sectors: the whole window is one

void CHeadlessWindow::enter(CView& view, const CViewRect& shown) {
    entered.insert(&view);
    addDirtyRect(shown);
}

void CHeadlessWindow::leave(CView& view) {
    entered.erase(&view);
}

void CHeadlessWindow::markDirty(const CViewRect& rect, CView&) {
    addDirtyRect(rect);
}

void CHeadlessWindow::addDirtyRect(const CViewRect& rect) {
    if (!rect.empty() && (dirty.empty() || !(dirty.back() == rect))) dirty.push_back(rect);
}

// ---- Painting

void CHeadlessWindow::collect(CVector<CView*, 0>& out, CObject& object) const {
    if (auto* view = dynamic_cast<CView*>(&object)) out.push_back(view);
    for (CObject* child : object.getChildren()) collect(out, *child);
}

CVector<CView*, 0> CHeadlessWindow::drawingOrder() const {
    CVector<CView*, 0> views;
    for (CObject* child : getChildren()) collect(views, *child);
    const auto isOutside = [this](CView* view) { return entered.find(view) == entered.end(); };
    const auto end = std::remove_if(views.begin(), views.end(), isOutside);
    views.resize(static_cast<size_t>(end - views.begin()));
    std::stable_sort(views.begin(), views.end(),
                     [](const CView* a, const CView* b) { return a->getZ() < b->getZ(); });
    return views;
}

CErrorResult CHeadlessWindow::paint(CLinearBitmap& target, int originX, int originY,
                                    const CPixelRect& clip) {
    for (const CView* view : drawingOrder()) {
        const CPixelRect shown = view->getShownRect().outward();
        CViewContext context;
        context.target = &target;
        context.scratch[0] = &scratch[0];
        context.scratch[1] = &scratch[1];
        context.originX = originX;
        context.originY = originY;
        context.clip = CPixelRect{shown.left - originX, shown.top - originY, shown.right - originX,
                                  shown.bottom - originY}
                           .intersected(clip)
                           .intersected(target.bounds());
        LUM_TRY(view->draw(context));
    }
    return nullptr;
}

CErrorResult CHeadlessWindow::paintAll(CLinearBitmap& target) {
    LUM_TRY(frame());
    const CView* view = getRootView();
    if (!view) return nullptr;
    const CPixelRect size = view->getPixelRect();
    LUM_TRY(target.setSize(size.width(), size.height(), true));
    LUM_TRY(paint(target, size.left, size.top, target.bounds()));
    return nullptr;
}

// ---- Text form

CString CHeadlessWindow::dumpLayout() const {
    CString out;
    for (const CObject* child : getChildren()) dump(out, *child, 0);
    return out;
}

void CHeadlessWindow::dump(CString& out, const CObject& object, int level) const {
    if (const auto* view = dynamic_cast<const CView*>(&object)) {
        char line[160];
        const CViewRect& place = view->getRect();
        std::snprintf(line, sizeof line, "%*s%-*s %10.3f %10.3f %10.3f %10.3f%s\n", 2 * level, "",
                      40 - 2 * level, view->getName().toUtf8().substr(0, 60).c_str(), place.x,
                      place.y, place.width, place.height, view->isShown() ? "" : " hidden");
        out += line;
    }
    for (const CObject* child : object.getChildren()) dump(out, *child, level + 1);
}

} // namespace lum
