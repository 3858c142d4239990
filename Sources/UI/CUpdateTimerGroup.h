#pragma once

#include "Core/CObject.h"

namespace lum {

class CUpdateTimer;

/// `ui:update-timer-group`: all timers of one period, so that one tick of the system serves them in
/// a fixed order and what they change is laid out once. Owned by the windows' shared data, one for
/// each period in use. Interface thread.
class CUpdateTimerGroup : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    void prepareDestroy() override;

    CErrorResult attrInterval(const CAttrEntry& value);
    /// Fires the timers in ascending order, then `view-area-update`.
    virtual CErrorResult onSystemTimerTick();

    /// Behind the timers of equal or lower order.
    void add(CUpdateTimer& timer);
    void remove(CUpdateTimer& timer);
    bool empty() const { return timers.empty(); }
    bool isTicking() const { return ticking; }
    int getPeriod() const { return periodMs; }
    void setHighPrecision(bool value);

private:
    CErrorResult startSystemTimer();

    CVector<CUpdateTimer*, 4> timers; // by ascending order
    int periodMs = 0;
    bool ticking = false;
};

} // namespace lum
