#include "Core/CThread.h"

#include "Core/CSystem.h"

namespace lum {

CThread::~CThread() {
    stopThread();
}

CErrorResult CThread::runThread(bool isHighPriority) {
    if (running)
        return LUM_FAIL("@lumstr_CThread_runThread_AlreadyRunning Thread is already running.");
    running = true;
    stopRequested = false;
    if (const int code = thread.start(&CThread::entry, this)) {
        running = false;
        return LUM_FAIL("@lumstr_CThread_runThread_createThreadError Thread creation error %1.",
                        code);
    }
    if (isHighPriority) thread.raisePriority();
    return nullptr;
}

void CThread::stopThread() {
    if (!running) return;
    stopRequested = true;
    wakeEvent.signal();
    thread.join();
    running = false;
}

void CThread::entry(void* self) {
    if (CErrorResult error = static_cast<CThread*>(self)->run())
        system::showError(std::move(error));
}

} // namespace lum
