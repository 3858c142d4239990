#pragma once

#include "Core/CObject.h"

namespace lum {

class CWindowSharedBase;

/// `ui:interval-timer`: fires `tick` once per `interval`, by the clock at the ticks of its child
/// `update-timer`, so that it comes in the frames' rhythm. Interface thread.
class CIntervalTimer : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;

    CErrorResult attrInterval(const CAttrEntry& value);
    virtual CErrorResult onUpdateTimerTick();

private:
    CWindowSharedBase* shared = nullptr;
    double interval = 1.0; // seconds
    double lastTick = 0.0; // clock
};

} // namespace lum
