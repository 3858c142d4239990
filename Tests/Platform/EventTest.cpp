#include "Platform/Event.h"
#include "Platform/Clock.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace lum::platform;

TEST(EventTest, signalsWithoutAWaiterAreKeptOnce) {
    CEvent event;
    EXPECT_FALSE(event.waitFor(0.0));
    event.signal();
    event.signal();
    EXPECT_TRUE(event.waitFor(0.0));
    const double start = clockSeconds();
    EXPECT_FALSE(event.waitFor(0.03));
    EXPECT_GE(clockSeconds() - start, 0.03);
}

TEST(EventTest, eachSignalLetsExactlyOneSleeperPass) {
    constexpr int kSleepers = 3;
    CEvent event;
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kSleepers; i++) {
        threads.emplace_back([&] {
            event.wait();
            passed++;
        });
    }
    for (int expected = 1; expected <= kSleepers; expected++) {
        event.signal();
        const double limit = clockSeconds() + 10.0;
        while (passed < expected && clockSeconds() < limit) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(passed, expected);
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_FALSE(event.waitFor(0.0));
}

// A lost wake-up leaves the test hanging.
TEST(EventTest, pingPongLosesNoWakeUp) {
    CEvent ping;
    CEvent pong;
    int value = 0; // handed back and forth by the events alone
    constexpr int kRounds = 5000;
    std::thread other([&] {
        for (int i = 0; i < kRounds; i++) {
            ping.wait();
            value++;
            pong.signal();
        }
    });
    for (int i = 0; i < kRounds; i++) {
        ping.signal();
        while (!pong.waitFor(0.0005)) {
        }
        ASSERT_EQ(value, i + 1);
    }
    other.join();
}
