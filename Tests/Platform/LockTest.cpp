#include "Platform/Lock.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace lum::platform;

template <class Lock>
class LockTest : public testing::Test {};
using Locks = testing::Types<CLock, CSpinLock>;
TYPED_TEST_SUITE(LockTest, Locks);

TYPED_TEST(LockTest, excludesOtherThreadsThroughNestedUse) {
    TypeParam lock;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; i++) {
                CGuard<TypeParam> outer(lock);
                CGuard<TypeParam> inner(lock);
                counter++;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter, 8000);
}

TYPED_TEST(LockTest, isFreeOnlyAfterAsManyLeavesAsEnters) {
    TypeParam lock;
    const auto othersGetIt = [&lock] {
        bool got = false;
        std::thread([&] {
            got = lock.tryEnter();
            if (got) lock.leave();
        }).join();
        return got;
    };
    lock.enter();
    EXPECT_TRUE(lock.tryEnter());
    lock.leave();
    EXPECT_FALSE(othersGetIt());
    lock.leave();
    EXPECT_TRUE(othersGetIt());
}
