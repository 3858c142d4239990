#pragma once

#include "Core/CObject.h"
#include "Platform/Lock.h"
#include "Platform/MessageQueue.h"
#include "Platform/TimerQueue.h"

namespace lum {

/// `core:timer`: an object that fires `tick` at a rate, on the thread of its tree's event bridge.
/// It never queues ticks behind slow work: one tick is under way at a time, and one that took
/// several periods skips as many. Two kinds: high precision on the process's timer thread, and a
/// timer of the message queue of the thread that sets the rate. Stopped until an attribute sets a
/// rate; restarted by each change. Attributes and events belong to the tree's thread,
/// `onQueueTimer` to the timer's.
class CTimerQueued : public CObject {
public:
    CTimerQueued();
    ~CTimerQueued() override;
    static void fillClass(CClassInfo& info);
    void prepareDestroy() override;

    virtual CErrorResult attrFps(const CAttrEntry& value);
    virtual CErrorResult attrInterval(const CAttrEntry& value);
    virtual CErrorResult attrIsHighPrecision(const CAttrEntry& value);
    /// A period is over: fires `tick` and counts the periods to skip.
    virtual CErrorResult onSysTick();

    double getInterval() const { return interval; } // seconds, 0.0 before a rate is set
    bool isRunning() const { return running; }
    int getSkipCount();

private:
    CErrorResult setRate(double seconds);
    CErrorResult initTimer();
    CErrorResult startQueueTimer(uint32_t periodMs);
    CErrorResult startThreadTimer(uint32_t periodMs);
    void stopTimer();
    void onQueueTimer();
    static void onThreadTimer(uint32_t id, void* unused);

    double interval = 0.0; // seconds
    bool running = false;
    bool highPrecision = true;
    platform::CTimerQueue* const timerQueue; // the process's, alive while a timer object is
    uint32_t queueTimerId = 0;
    std::shared_ptr<platform::CMessageQueue> messageQueue; // of the thread that started the timer
    uint32_t threadTimerId = 0;

    platform::CSpinLock lock; // of what follows, which timer thread and tree thread share
    bool tickDone = true;     // no posted tick is outstanding
    int64_t lastPost;         // clock ticks
    int32_t skipCount = 0;    // periods
};

} // namespace lum
