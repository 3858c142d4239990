#include "Core/CWorkerThreadPool.h"

namespace lum {

namespace {

/// Workers asleep between two pools, a stack linked through the workers. They outlive every pool
/// and every instance until somebody empties the list.
struct CIdleList {
    platform::CSpinLock lock;
    CPersistentThread* head = nullptr;
};

constinit CIdleList idleList;

} // namespace

CPersistentThread::~CPersistentThread() {
    // One after the other: a recursion over a long list would need a deep stack.
    while (CPersistentThread* behind = next) {
        next = std::exchange(behind->next, nullptr);
        delete behind;
    }
    job.reset();
    stopThread();
}

void CPersistentThread::signal() {
    {
        platform::CSpinGuard guard(*poolLock);
        isBusy = true;
    }
    wakeEvent.signal();
}

CErrorResult CPersistentThread::run() {
    wakeEvent.wait();
    while (!stopRequested) {
        job->lastError = job->run();
        {
            platform::CSpinGuard guard(*poolLock);
            isBusy = false;
            // Inside the lock: outside it the pool, event included, may be gone already.
            if (std::exchange(*poolWaiting, false)) poolEvent->signal();
        }
        wakeEvent.wait();
    }
    return nullptr;
}

CErrorResult CPersistentThread::take(CPersistentThread*& out) {
    out = nullptr;
    platform::CSpinGuard guard(idleList.lock);
    if (idleList.head) {
        out = idleList.head;
        idleList.head = std::exchange(out->next, nullptr);
        return nullptr;
    }
    auto started = std::make_unique<CPersistentThread>();
    LUM_TRY(started->runThread(false));
    out = started.release();
    return nullptr;
}

void CPersistentThread::giveBack(CPersistentThread* worker) {
    worker->job.reset();
    platform::CSpinGuard guard(idleList.lock);
    worker->next = idleList.head;
    idleList.head = worker;
}

void CPersistentThread::releaseIdle() {
    CPersistentThread* head = nullptr;
    {
        platform::CSpinGuard guard(idleList.lock);
        head = std::exchange(idleList.head, nullptr);
    }
    delete head;
}

CErrorResult CWorkerThreadPool::add(std::unique_ptr<CWorkerThread> job) {
    CPersistentThread* worker = nullptr;
    LUM_TRY(CPersistentThread::take(worker));
    worker->poolLock = &lock;
    worker->poolEvent = &finishEvent;
    worker->poolWaiting = &isWaiting;
    worker->job = std::move(job);
    workers.push_back(worker);
    return nullptr;
}

void CWorkerThreadPool::signalAll() {
    for (CPersistentThread* worker : workers) worker->signal();
}

CErrorResult CWorkerThreadPool::waitAll(bool isRethrowing) {
    for (;;) {
        {
            platform::CSpinGuard guard(lock);
            int busy = 0;
            for (CPersistentThread* worker : workers) {
                if (worker->isBusy) {
                    busy++;
                    continue;
                }
                if (isRethrowing) {
                    LUM_TRY(std::exchange(worker->job->lastError, nullptr));
                } else {
                    logAndDropError(std::exchange(worker->job->lastError, nullptr));
                }
            }
            isWaiting = busy > 0;
            if (busy == 0) return nullptr;
        }
        finishEvent.wait();
    }
}

void CWorkerThreadPool::clear() {
    logAndDropError(waitAll(false));
    for (CPersistentThread* worker : workers) CPersistentThread::giveBack(worker);
    workers.clear();
}

} // namespace lum
