#pragma once

#include "Core/CThread.h"
#include "Platform/Lock.h"

#include <memory>

namespace lum {

/// A job.
class CWorkerThread : public CCheckedObject, public CLumMemAllocator {
public:
    virtual CErrorResult run() = 0;
    CErrorResult lastError; // of its last round; owned by whoever collects it
};

class CPersistentThreadBase : public CThread {
public:
    using CThread::CThread;
    virtual void signal() = 0; // hands over one job round
};

/// A worker that sleeps on its event between jobs and outlives the pools it serves.
class CPersistentThread : public CPersistentThreadBase {
public:
    CPersistentThread() : CPersistentThreadBase("worker-thread") {}
    ~CPersistentThread() override; // the workers behind it first, then its job and its thread

    void signal() override;

    /// Takes a sleeping worker from the process-wide idle list, or starts one.
    static CErrorResult take(CPersistentThread*& out);
    /// Puts a worker without a running job back on the idle list.
    static void giveBack(CPersistentThread* worker);
    /// Stops all idle workers. For the end of an instance and of the process.
    static void releaseIdle();

protected:
    CErrorResult run() override;

private:
    friend class CWorkerThreadPool;
    CPersistentThread* next = nullptr; // link of the idle list
    std::unique_ptr<CWorkerThread> job;
    bool isBusy = false; // under the pool's lock
    platform::CSpinLock* poolLock = nullptr;
    platform::CEvent* poolEvent = nullptr;
    bool* poolWaiting = nullptr;
};

/// Runs a set of jobs and collects their errors: a value on the stack of whoever has work.
class CWorkerThreadPool {
public:
    CWorkerThreadPool() = default;
    ~CWorkerThreadPool() { clear(); }
    CWorkerThreadPool(const CWorkerThreadPool&) = delete;
    CWorkerThreadPool& operator=(const CWorkerThreadPool&) = delete;

    /// Gives a job to a worker, asleep until signalAll. Error: no thread could be started.
    CErrorResult add(std::unique_ptr<CWorkerThread> job);
    void signalAll();
    int size() const { return workers.ssize(); }
    /// Waits until no worker is busy. With `isRethrowing` the first error found is the result at
    /// once, and `clear` waits for the rest; without, errors go to the log.
    CErrorResult waitAll(bool isRethrowing);
    /// Waits and gives all workers back.
    void clear();

private:
    platform::CSpinLock lock;
    platform::CEvent finishEvent;
    bool isWaiting = false;
    CVector<CPersistentThread*, 8> workers;
};

} // namespace lum
