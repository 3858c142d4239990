#include "Platform/TimerQueue.h"
#include "Platform/Clock.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace lum::platform;

namespace {

struct CTicker {
    std::atomic<int> ticks{0};
    std::atomic<bool> isInside{false};
    int workMs = 0;
    static void tick(void* self) {
        auto* t = static_cast<CTicker*>(self);
        t->isInside = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(t->workMs));
        t->ticks++;
        t->isInside = false;
    }
    bool waitFor(int count) const {
        const double limit = clockSeconds() + 10.0;
        while (ticks < count && clockSeconds() < limit) std::this_thread::yield();
        return ticks >= count;
    }
};

} // namespace

TEST(TimerQueueTest, aDeletedTimerIsNotBeingCalled) {
    CTimerQueue queue;
    for (int round = 0; round < 20; round++) {
        CTicker ticker;
        ticker.workMs = round % 3;
        int code = 0;
        const uint32_t id = queue.createTimer(1, &CTicker::tick, &ticker, code);
        EXPECT_TRUE(ticker.waitFor(round % 2));
        queue.deleteTimer(id);
        EXPECT_FALSE(ticker.isInside);
        const int before = ticker.ticks;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(ticker.ticks, before);
    }
}

TEST(TimerQueueTest, aCallbackMayDeleteItsOwnTimer) {
    struct CSelf {
        CTimerQueue queue;
        std::atomic<uint32_t> id{0};
        std::atomic<int> ticks{0};
    } self;
    int code = 0;
    self.id = self.queue.createTimer(
        1,
        [](void* argument) {
            auto* s = static_cast<CSelf*>(argument);
            while (s->id == 0) std::this_thread::yield();
            s->queue.deleteTimer(s->id);
            s->ticks++;
        },
        &self, code);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(self.ticks, 1);
}
