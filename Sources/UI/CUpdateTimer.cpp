#include "UI/CUpdateTimer.h"

#include "UI/CUpdateTimerGroup.h"
#include "UI/CWindowBase.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr CAttrRow<CUpdateTimer> kAttrs[] = {
    {"fps", &CUpdateTimer::attrFps},            // ticks a second, clamped to 0.001..1000
    {"interval", &CUpdateTimer::attrInterval},  // period in milliseconds
    {"order-asc", &CUpdateTimer::attrOrderAsc}, // place among the timers of the period
    {"is-high-precision", &CUpdateTimer::attrIsHighPrecision}, // of the period's system timer
};

constexpr double kSlowestFps = 0.001;
constexpr double kFastestFps = 1000.0;

} // namespace

void CUpdateTimer::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CUpdateTimer::init() {
    shared = findWindowShared(*this);
    LUM_TRY(CObject::init());
    return nullptr;
}

void CUpdateTimer::prepareDestroy() {
    leave();
    CObject::prepareDestroy();
}

CErrorResult CUpdateTimer::attrFps(const CAttrEntry& value) {
    const double fps = std::clamp(value.realOr(0.0), kSlowestFps, kFastestFps);
    return setPeriod(std::max(1, static_cast<int>(std::lround(1000.0 / fps))));
}

CErrorResult CUpdateTimer::attrInterval(const CAttrEntry& value) {
    return setPeriod(std::max(1, static_cast<int>(std::lround(value.realOr(0.0)))));
}

CErrorResult CUpdateTimer::attrOrderAsc(const CAttrEntry& value) {
    order = value.realOr(0.0);
    if (!group) return nullptr;
    group->remove(*this);
    group->add(*this);
    return nullptr;
}

CErrorResult CUpdateTimer::attrIsHighPrecision(const CAttrEntry& value) {
    if (group) group->setHighPrecision(value.boolOr(false));
    return nullptr;
}

CErrorResult CUpdateTimer::setPeriod(int newPeriodMs) {
    if (newPeriodMs == periodMs && group) return nullptr;
    leave();
    periodMs = newPeriodMs;
    join();
    return nullptr;
}

void CUpdateTimer::join() {
    group = shared ? shared->getUpdateTimerGroup(periodMs) : nullptr;
    if (!group) return;
    group->add(*this);
    if (const CAttrEntry* entry = findAttr("is-high-precision"))
        group->setHighPrecision(entry->boolOr(false));
}

void CUpdateTimer::leave() {
    if (group) shared->removeTimer(*this);
    group = nullptr;
}

} // namespace lum
