#include "Platform/MessageQueue.h"
#include "Platform/Clock.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace lum::platform;

namespace {

struct CRecorder : CMessageReceiver {
    void onMessage(uint32_t message, intptr_t value) override {
        seen.push_back({message, value});
        if (then) then();
    }
    std::vector<std::pair<uint32_t, intptr_t>> seen;
    std::function<void()> then;
};

} // namespace

TEST(MessageQueueTest, deliversInOrderAndOnlyWhatWasQueuedAtTheCall) {
    CMessageQueue queue;
    CRecorder a;
    const uint64_t address = queue.attach(a);
    a.then = [&] {
        if (a.seen.size() > 2) return;
        EXPECT_EQ(queue.post(address, 9, 0), 0);
    };
    EXPECT_EQ(queue.post(address, 1, 10), 0);
    EXPECT_EQ(queue.post(address, 2, -20), 0);
    EXPECT_EQ(queue.pump(), 2);
    EXPECT_EQ(a.seen[0], std::pair(1U, intptr_t{10}));
    EXPECT_EQ(a.seen[1], std::pair(2U, intptr_t{-20}));
    EXPECT_EQ(queue.pump(), 2);
    EXPECT_EQ(queue.pump(), 0);
    queue.detach(address);
}

TEST(MessageQueueTest, aDetachedReceiverGetsNothingMore) {
    CMessageQueue queue;
    CRecorder a;
    CRecorder b;
    const uint64_t toA = queue.attach(a);
    const uint64_t toB = queue.attach(b);
    a.then = [&] { queue.detach(toB); }; // from inside a delivery
    b.then = [&] { queue.detach(toB); };
    EXPECT_EQ(queue.post(toA, 1, 0), 0);
    EXPECT_EQ(queue.post(toB, 1, 0), 0);
    EXPECT_EQ(queue.pump(), 1);
    EXPECT_TRUE(b.seen.empty());
    EXPECT_NE(queue.post(toB, 1, 0), 0);
    queue.detach(toA);
}

TEST(MessageQueueTest, detachWaitsForADeliveryOnTheOtherThread) {
    CMessageQueue queue;
    CRecorder a;
    std::atomic<bool> isInside{false};
    std::atomic<bool> isDone{false};
    a.then = [&] {
        isInside = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        isDone = true;
    };
    const uint64_t address = queue.attach(a);
    std::thread pumping([&] {
        while (queue.pumpFor(10.0) == 0) {
        }
    });
    EXPECT_EQ(queue.post(address, 1, 0), 0); // wakes the sleeping pump
    while (!isInside) std::this_thread::yield();
    queue.detach(address);
    EXPECT_TRUE(isDone);
    pumping.join();
}

TEST(MessageQueueTest, aQueueNobodyPumpsStaysBounded) {
    CMessageQueue queue;
    CRecorder a;
    const uint64_t address = queue.attach(a);
    int taken = 0;
    while (taken < 20000 && queue.post(address, 1, 0) == 0) taken++;
    EXPECT_LT(taken, 20000);
    EXPECT_EQ(queue.pump(), taken);
    EXPECT_EQ(queue.post(address, 1, 0), 0);
}

TEST(MessageQueueTest, timersFireWithTheirPeriodAndMayStopThemselves) {
    struct CCount {
        CMessageQueue queue;
        uint32_t id = 0;
        int ticks = 0;
    } count;
    count.id = count.queue.startTimer(
        10,
        [](uint32_t id, void* argument) {
            auto* c = static_cast<CCount*>(argument);
            EXPECT_EQ(id, c->id);
            if (++c->ticks == 3) c->queue.stopTimer(id);
        },
        &count);
    const double start = clockSeconds();
    EXPECT_EQ(count.queue.pump(), 0); // not at once
    while (count.ticks < 3 && clockSeconds() - start < 10.0) count.queue.pumpFor(1.0);
    EXPECT_GE(clockSeconds() - start, 0.03);
    EXPECT_EQ(count.queue.pumpFor(0.03), 0);
}
