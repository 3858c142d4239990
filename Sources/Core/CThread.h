#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CError.h"
#include "Platform/Event.h"
#include "Platform/Thread.h"

#include <atomic>

namespace lum {

/// A thread with a wake event and a stop request. Not running, running, stopping; it may be run
/// again after a stop. runThread and stopThread are called by one owner. A class with a run() of
/// its own calls stopThread in its destructor, before anything that run() uses is gone.
class CThread : public CCheckedObject, public CLumMemAllocator {
public:
    explicit CThread(CString threadName) : name(std::move(threadName)) {}
    ~CThread() override;

    CErrorResult runThread(bool isHighPriority);
    /// Asks for the end, wakes the thread and waits for it without limit. Idempotent.
    void stopThread();
    bool isRunning() const { return running; }

protected:
    virtual CErrorResult run() = 0;
    platform::CEvent wakeEvent;
    std::atomic<bool> stopRequested{false};

private:
    static void entry(void* self);
    platform::CNativeThread thread;
    bool running = false;
    CString name;
};

} // namespace lum
