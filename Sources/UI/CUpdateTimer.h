#pragma once

#include "Core/CObject.h"

namespace lum {

class CUpdateTimerGroup;
class CWindowSharedBase;

/// `ui:update-timer`: fires `tick` at a rate, together with all timers of its period and in their
/// order. Without a rate it stands still. Interface thread.
class CUpdateTimer : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;

    CErrorResult attrFps(const CAttrEntry& value);
    CErrorResult attrInterval(const CAttrEntry& value);
    CErrorResult attrOrderAsc(const CAttrEntry& value);
    CErrorResult attrIsHighPrecision(const CAttrEntry& value);

    int getPeriod() const { return periodMs; } // milliseconds, 0 without a rate
    double getOrder() const { return order; }
    CUpdateTimerGroup* getGroup() const { return group; }
    /// The group has ended.
    void forgetGroup() { group = nullptr; }

private:
    CErrorResult setPeriod(int newPeriodMs);
    void join();
    void leave();

    CWindowSharedBase* shared = nullptr;
    CUpdateTimerGroup* group = nullptr;
    int periodMs = 0;
    double order = 0.0;
};

} // namespace lum
