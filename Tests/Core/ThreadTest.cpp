#include "Core/CWorkerThreadPool.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <thread>

using namespace lum;

namespace {

/// Counts how often it was woken until it is told to stop.
class CWakeCounter : public CThread {
public:
    CWakeCounter() : CThread("test") {}
    ~CWakeCounter() override { stopThread(); }
    std::atomic<int> rounds{0};
    std::atomic<bool> blocksSignals{false};

protected:
    CErrorResult run() override {
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        blocksSignals = sigismember(&mask, SIGINT) && sigismember(&mask, SIGUSR1);
        do {
            rounds++;
            wakeEvent.wait();
        } while (!stopRequested);
        return nullptr;
    }
};

class CFailingThread : public CThread {
public:
    CFailingThread() : CThread("test") {}
    ~CFailingThread() override { stopThread(); }

protected:
    CErrorResult run() override { return LUM_FAIL("Broken by %1.", "test"); }
};

/// Adds to a sum without a lock, which is right only if the pool orders its accesses.
class CAddJob : public CWorkerThread {
public:
    CAddJob(int& target, bool isFailing) : sum(target), fails(isFailing) {}
    CErrorResult run() override {
        sum++;
        return fails ? LUM_FAIL("Job failed.") : nullptr;
    }

private:
    int& sum;
    bool fails;
};

} // namespace

TEST(ThreadTest, runsOnceAndAgainAfterAStop) {
    CWakeCounter thread;
    thread.stopThread(); // never ran
    for (int round = 1; round <= 3; round++) {
        ASSERT_FALSE(thread.runThread(round == 2));
        EXPECT_EQ(thread.runThread(false).line(0), "Thread is already running.");
        while (thread.rounds < round) std::this_thread::yield();
        EXPECT_TRUE(thread.isRunning());
        thread.stopThread();
        thread.stopThread();
        EXPECT_EQ(thread.rounds, round);
    }
    EXPECT_TRUE(thread.blocksSignals);
}

TEST(ThreadTest, anErrorNobodyTakesIsShownWithItsTrace) {
    testing::internal::CaptureStderr();
    CFailingThread thread;
    ASSERT_FALSE(thread.runThread(false));
    thread.stopThread();
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_NE(shown.find("Broken by test.\r\n"), std::string::npos);
    EXPECT_NE(shown.find("Tests/Core/ThreadTest.cpp( "), std::string::npos);
    EXPECT_NE(shown.find("send it to the vendor.  Use Shift+Insert"), std::string::npos);
}

TEST(WorkerThreadPoolTest, everyRoundRunsEveryJobBeforeTheWaitEnds) {
    int sums[4] = {};
    for (int made = 0; made < 50; made++) {
        CWorkerThreadPool pool;
        for (int& sum : sums) ASSERT_FALSE(pool.add(std::make_unique<CAddJob>(sum, false)));
        for (int round = 0; round < 20; round++) {
            pool.signalAll();
            ASSERT_FALSE(pool.waitAll(true));
            for (const int sum : sums) ASSERT_EQ(sum, made * 20 + round + 1);
        }
    }
    CPersistentThread::releaseIdle();
}

TEST(WorkerThreadPoolTest, workersOutliveThePoolUntilTheIdleOnesAreReleased) {
    CPersistentThread* first = nullptr;
    CPersistentThread* second = nullptr;
    ASSERT_FALSE(CPersistentThread::take(first));
    CPersistentThread::giveBack(first);
    ASSERT_FALSE(CPersistentThread::take(second));
    EXPECT_EQ(first, second);
    ASSERT_FALSE(CPersistentThread::take(first));
    EXPECT_NE(first, second);
    CPersistentThread::giveBack(first);
    CPersistentThread::giveBack(second);
    CPersistentThread::releaseIdle();
    CPersistentThread::releaseIdle();
}

TEST(WorkerThreadPoolTest, aJobsErrorComesOutOnce) {
    int sums[3] = {};
    CWorkerThreadPool pool;
    EXPECT_FALSE(pool.waitAll(true)); // nobody to wait for
    for (int i = 0; i < 3; i++) ASSERT_FALSE(pool.add(std::make_unique<CAddJob>(sums[i], i == 1)));
    pool.signalAll();
    const CErrorResult error = pool.waitAll(true);
    EXPECT_EQ(error.line(0), "Job failed.");
    EXPECT_EQ(error.get()->lines.size(), 3U); // message, place, and the pool's line of trace
    EXPECT_FALSE(pool.waitAll(true));
    pool.signalAll();
    EXPECT_FALSE(pool.waitAll(false)); // goes to the log
    pool.clear();
    EXPECT_EQ(pool.size(), 0);
    for (const int sum : sums) EXPECT_EQ(sum, 2);
    CPersistentThread::releaseIdle();
}
