#include "UI/CIntervalTimer.h"

#include "UI/CUpdateTimer.h"
#include "UI/CWindowBase.h"

namespace lum {

namespace {

constexpr CAttrRow<CIntervalTimer> kAttrs[] = {
    {"interval", &CIntervalTimer::attrInterval}, // seconds
};

constexpr CEventRow<CIntervalTimer> kEvents[] = {
    {"update-timer-tick", &CIntervalTimer::onUpdateTimerTick},
};

constexpr const char* kChildName = "update-timer";
constexpr const char* kChildTag = "ui:update-timer";
constexpr int kDefaultFps = 40;
constexpr double kClockSlack = 1e-9; // seconds, of sums of periods

} // namespace

void CIntervalTimer::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

CErrorResult CIntervalTimer::init() {
    shared = findWindowShared(*this);
    if (shared) lastTick = shared->clock();
    LUM_TRY(CObject::init());
    return nullptr;
}

CErrorResult CIntervalTimer::attrInterval(const CAttrEntry& value) {
    interval = value.realOr(1.0);
    return nullptr;
}

CErrorResult CIntervalTimer::initDone() {
    LUM_TRY(CObject::initDone());
    if (!findChild(kChildName)) {
        const CObject* settings = findObject("ui.global-settings");
        const int fps =
            settings ? settings->getAttrInt("frames-per-second", kDefaultFps) : kDefaultFps;
        CAttrMap given;
        given["fps"] = CAttrEntry::ofInt(fps);
        CUpdateTimer* timer = nullptr;
        LUM_TRY(createChild(timer, kChildTag, kChildName, false, nullptr, &given));
    }
    listenObject(CString(".") + kChildName, "tick", "update-timer-tick");
    return nullptr;
}

// After a long gap the rhythm starts anew instead of catching up.
CErrorResult CIntervalTimer::onUpdateTimerTick() {
    const double now = shared ? shared->clock() : 0.0;
    if (now - lastTick < interval - kClockSlack) return nullptr;
    lastTick += interval;
    if (now - lastTick >= interval) lastTick = now;
    LUM_TRY(fireEvent("tick", false));
    return nullptr;
}

} // namespace lum
