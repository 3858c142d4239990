#include "UI/CUpdateTimerGroup.h"

#include "UI/CUpdateTimer.h"

#include <algorithm>

namespace lum {

namespace {

// `timer-tag` names the tag of the child `system-timer`; without one the owner gives the ticks.
constexpr CAttrRow<CUpdateTimerGroup> kAttrs[] = {
    {"interval", &CUpdateTimerGroup::attrInterval}, // whole milliseconds
};

constexpr CEventRow<CUpdateTimerGroup> kEvents[] = {
    {"system-timer-tick", &CUpdateTimerGroup::onSystemTimerTick},
};

} // namespace

void CUpdateTimerGroup::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

CErrorResult CUpdateTimerGroup::attrInterval(const CAttrEntry& value) {
    periodMs = std::max(1, value.intOr(1));
    return nullptr;
}

CErrorResult CUpdateTimerGroup::initDone() {
    LUM_TRY(CObject::initDone());
    LUM_TRY(startSystemTimer());
    return nullptr;
}

CErrorResult CUpdateTimerGroup::startSystemTimer() {
    const CString timerTag = getAttrString("timer-tag");
    if (timerTag.empty()) return nullptr;
    CAttrMap given;
    given["interval"] = CAttrEntry::ofReal(periodMs / 1000.0);
    CObject* timer = nullptr;
    LUM_TRY(createChild(timer, timerTag, "system-timer", false, nullptr, &given));
    listenObject(".system-timer", "tick", "system-timer-tick");
    return nullptr;
}

void CUpdateTimerGroup::prepareDestroy() {
    for (CUpdateTimer* timer : timers) timer->forgetGroup();
    timers.clear();
    CObject::prepareDestroy();
}

void CUpdateTimerGroup::add(CUpdateTimer& timer) {
    size_t place = timers.size();
    while (place > 0 && timers[place - 1]->getOrder() > timer.getOrder()) place--;
    timers.insert(place, &timer);
}

void CUpdateTimerGroup::remove(CUpdateTimer& timer) {
    CUpdateTimer** found = std::find(timers.begin(), timers.end(), &timer);
    if (found != timers.end()) timers.erase(static_cast<size_t>(found - timers.begin()));
}

void CUpdateTimerGroup::setHighPrecision(bool value) {
    if (CObject* timer = findChild("system-timer"))
        logAndDropError(timer->setAttrValue("is-high-precision", CAttrEntry::ofBool(value), true));
}

// A tick may end timers of the group, and start others, which wait for the next one.
CErrorResult CUpdateTimerGroup::onSystemTimerTick() {
    ticking = true;
    CErrorResult error;
    const CVector<CUpdateTimer*, 4> round = timers;
    for (CUpdateTimer* timer : round) {
        if (std::find(timers.begin(), timers.end(), timer) == timers.end()) continue;
        error = timer->fireEvent("tick", false);
        if (error) break;
    }
    ticking = false;
    LUM_TRY(std::move(error));
    LUM_TRY(fireEvent("view-area-update", false));
    return nullptr;
}

} // namespace lum
