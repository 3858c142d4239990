#include "Core/CTimerQueued.h"

#include "Platform/Clock.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lum {

namespace {

constexpr CAttrRow<CTimerQueued> kAttrs[] = {
    {"fps", &CTimerQueued::attrFps},                           // frames a second, 0.001..1000
    {"interval", &CTimerQueued::attrInterval},                 // seconds, at least 0.001
    {"is-high-precision", &CTimerQueued::attrIsHighPrecision}, // Boolean, the kind of timer
};

constexpr CEventRow<CTimerQueued> kEvents[] = {
    {"sys-tick", &CTimerQueued::onSysTick}, // posted by the timer thread to the tree's thread
};

constexpr double kSlowestFps = 0.001;
constexpr double kFastestFps = 1000.0;
constexpr double kShortestInterval = 0.001; // seconds
constexpr double kLongestPeriod = 4e9;      // milliseconds, what 32 bits hold
constexpr double kTickPatience = 2.0;       // seconds after which an outstanding tick is given up

/// The timer queue of the process, with the number of timer objects that hold it.
struct CSharedQueue {
    platform::CLock lock;
    std::unique_ptr<platform::CTimerQueue> queue;
    int users = 0;
};

CSharedQueue& sharedQueue() {
    static CSharedQueue shared;
    return shared;
}

platform::CTimerQueue* holdQueue() {
    CSharedQueue& shared = sharedQueue();
    platform::CLockGuard guard(shared.lock);
    if (shared.users++ == 0) shared.queue = std::make_unique<platform::CTimerQueue>();
    return shared.queue.get();
}

void dropQueue() {
    CSharedQueue& shared = sharedQueue();
    platform::CLockGuard guard(shared.lock);
    if (--shared.users == 0) shared.queue.reset();
}

/// Running timers of the message queues by their number. The lock is held while a tick is fired, so
/// that no other thread destroys the object meanwhile; this thread may stop and restart it.
struct CThreadTimers {
    platform::CLock lock;
    CMap<uint32_t, CTimerQueued*> timers;
};

CThreadTimers& threadTimers() {
    static CThreadTimers running;
    return running;
}

bool isSame(double a, double b) {
    return std::fabs(a - b) <=
           std::numeric_limits<double>::epsilon() * (std::fabs(a) + std::fabs(b));
}

double secondsBetween(int64_t from, int64_t to) {
    return static_cast<double>(to - from) / platform::clockFrequency();
}

double realOf(const CAttrEntry& value) {
    double out = 0.0;
    (void)value.toReal(out); // gives 0.0 where there is no number
    return out;
}

} // namespace

CTimerQueued::CTimerQueued() : timerQueue(holdQueue()), lastPost(platform::clockTicks()) {}

CTimerQueued::~CTimerQueued() {
    stopTimer();
    dropQueue();
}

void CTimerQueued::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

void CTimerQueued::prepareDestroy() {
    stopTimer();
    CObject::prepareDestroy();
}

CErrorResult CTimerQueued::attrFps(const CAttrEntry& value) {
    return setRate(1.0 / std::clamp(realOf(value), kSlowestFps, kFastestFps));
}

CErrorResult CTimerQueued::attrInterval(const CAttrEntry& value) {
    return setRate(std::max(realOf(value), kShortestInterval));
}

CErrorResult CTimerQueued::attrIsHighPrecision(const CAttrEntry& value) {
    bool wanted = false;
    (void)value.toBool(wanted);
    if (wanted == highPrecision) return nullptr;
    highPrecision = wanted;
    LUM_TRY(initTimer());
    return nullptr;
}

CErrorResult CTimerQueued::setRate(double seconds) {
    if (isSame(seconds, interval)) return nullptr;
    interval = seconds;
    LUM_TRY(initTimer());
    return nullptr;
}

CErrorResult CTimerQueued::initTimer() {
    stopTimer();
    if (!(interval > 0.0)) return nullptr;
    const double rounded = std::min(std::round(interval * 1000.0), kLongestPeriod);
    const auto periodMs = static_cast<uint32_t>(rounded);
    return highPrecision ? startQueueTimer(periodMs) : startThreadTimer(periodMs);
}

CErrorResult CTimerQueued::startQueueTimer(uint32_t periodMs) {
    threadTimerId = 0;
    if (!timerQueue)
        return LUM_FAIL(
            "@lumstr_CTimerQueued_initTimer_createTimerQueue Timer queue creation error.");
    {
        platform::CSpinGuard guard(lock);
        tickDone = true;
        skipCount = 0;
    }
    int code = 0;
    queueTimerId = timerQueue->createTimer(
        periodMs, [](void* self) { static_cast<CTimerQueued*>(self)->onQueueTimer(); }, this, code);
    if (queueTimerId == 0)
        return LUM_FAIL("@lumstr_CTimerQueued_initTimer_createTimer Timer creation error %1.",
                        code);
    running = true;
    return nullptr;
}

CErrorResult CTimerQueued::startThreadTimer(uint32_t periodMs) {
    CThreadTimers& known = threadTimers();
    platform::CLockGuard guard(known.lock);
    messageQueue = platform::CMessageQueue::current();
    threadTimerId = messageQueue->startTimer(periodMs, &CTimerQueued::onThreadTimer, nullptr);
    if (threadTimerId == 0)
        return LUM_FAIL("@lumstr_CTimerQueued_initTimer_createTimerHWND Timer creation error %1.",
                        0);
    known.timers[threadTimerId] = this;
    running = true;
    return nullptr;
}

void CTimerQueued::stopTimer() {
    if (!running) return;
    if (threadTimerId != 0) {
        CThreadTimers& known = threadTimers();
        platform::CLockGuard guard(known.lock);
        known.timers.erase(threadTimerId);
        messageQueue->stopTimer(threadTimerId);
        messageQueue.reset();
        threadTimerId = 0;
    } else {
        timerQueue->deleteTimer(queueTimerId);
    }
    running = false;
}

int CTimerQueued::getSkipCount() {
    platform::CSpinGuard guard(lock);
    return skipCount;
}

/// On the timer thread, which serves the timers of all instances: decides and posts, no more.
void CTimerQueued::onQueueTimer() {
    const int64_t now = platform::clockTicks();
    {
        platform::CSpinGuard guard(lock);
        if (!tickDone && secondsBetween(lastPost, now) < kTickPatience) return;
        if (skipCount > 0) {
            skipCount--;
            return;
        }
        tickDone = false;
        lastPost = now;
    }
    postOwnEvent("timer", "sys-tick");
}

CErrorResult CTimerQueued::onSysTick() {
    const int64_t before = platform::clockTicks();
    CErrorResult result = fireEvent("tick", false);
    const double taken = secondsBetween(before, platform::clockTicks());
    constexpr double kMostSkips = std::numeric_limits<int32_t>::max();
    {
        platform::CSpinGuard guard(lock);
        tickDone = true;
        skipCount = static_cast<int32_t>(std::min(std::floor(taken / interval), kMostSkips));
    }
    return result;
}

/// On the thread that pumps the timer's message queue.
void CTimerQueued::onThreadTimer(uint32_t id, void*) {
    CThreadTimers& known = threadTimers();
    platform::CLockGuard guard(known.lock);
    const auto found = known.timers.find(id);
    if (found != known.timers.end()) logAndDropError(found->second->fireEvent("tick", true));
}

} // namespace lum
