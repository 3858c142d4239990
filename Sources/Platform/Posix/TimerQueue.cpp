#include "Platform/TimerQueue.h"

#include "Platform/Clock.h"
#include "Platform/Lock.h"
#include "Platform/Posix/TimedCondition.h"
#include "Platform/Thread.h"

#include <algorithm>
#include <vector>

namespace lum::platform {

namespace {

constexpr int64_t kTicksPerMs = 1000000;

struct CTimer {
    uint32_t id;
    int64_t period; // ticks
    int64_t due;    // ticks
    CTimerQueue::Callback callback;
    void* argument;
};

} // namespace

struct CTimerQueue::CState {
    CTimedCondition condition; // guards what follows
    CNativeThread thread;
    std::vector<CTimer> timers;
    uint32_t lastId = 0;
    uint32_t runningId = 0; // whose callback is running, 0 for none
    uint64_t threadId = 0;
    bool isStarted = false;
    bool isStopping = false;

    static void entry(void* self) { static_cast<CState*>(self)->serve(); }
    void serve();
    void fire(CTimer& timer);
    int startThread();
};

/// Runs the callbacks that are due and sleeps until the next one.
void CTimerQueue::CState::serve() {
    CGuard<CTimedCondition> guard(condition);
    threadId = currentThreadId();
    while (!isStopping) {
        const auto first =
            std::min_element(timers.begin(), timers.end(),
                             [](const CTimer& a, const CTimer& b) { return a.due < b.due; });
        if (first == timers.end()) {
            condition.wait();
        } else if (first->due > clockTicks()) {
            condition.waitUntil(first->due);
        } else {
            fire(*first);
        }
    }
}

/// Calls back with the lock open, so that the callback may make and delete timers.
void CTimerQueue::CState::fire(CTimer& timer) {
    // A late timer skips the periods that it missed and keeps its phase.
    const int64_t late = clockTicks() - timer.due;
    timer.due += (late / timer.period + 1) * timer.period;
    runningId = timer.id;
    const CTimer called = timer;
    condition.leave();
    called.callback(called.argument);
    condition.enter();
    runningId = 0;
    condition.notifyAll();
}

int CTimerQueue::CState::startThread() {
    if (isStarted) return 0;
    const int code = thread.start(&CState::entry, this);
    isStarted = code == 0;
    return code;
}

CTimerQueue::CTimerQueue() : state(std::make_unique<CState>()) {}

CTimerQueue::~CTimerQueue() {
    {
        CGuard<CTimedCondition> guard(state->condition);
        state->isStopping = true;
        state->condition.notifyAll();
    }
    if (state->isStarted) state->thread.join();
}

uint32_t CTimerQueue::createTimer(uint32_t periodMs, Callback callback, void* argument,
                                  int& errorCode) {
    CGuard<CTimedCondition> guard(state->condition);
    errorCode = state->startThread();
    if (errorCode != 0) return 0;
    do state->lastId++;
    while (state->lastId == 0);
    const int64_t period = std::max<int64_t>(periodMs, 1) * kTicksPerMs;
    state->timers.push_back({state->lastId, period, clockTicks(), callback, argument});
    state->condition.notifyAll();
    return state->lastId;
}

void CTimerQueue::deleteTimer(uint32_t id) {
    CGuard<CTimedCondition> guard(state->condition);
    std::erase_if(state->timers, [id](const CTimer& timer) { return timer.id == id; });
    if (state->isStarted && state->threadId == currentThreadId()) return;
    while (state->runningId == id) state->condition.wait();
}

} // namespace lum::platform
