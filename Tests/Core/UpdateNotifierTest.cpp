#include "Core/CUpdateNotifier.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace lum;

namespace {

struct CListener : CUpdateListener {
    ~CListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord*) override { calls.push_back(this); }
    static inline std::vector<CListener*> calls;
};

const int keyA = 0;
const int keyB = 0;

} // namespace

TEST(UpdateNotifierTest, listenersOfTheKeyAreCalledInAddressOrder) {
    CListener::calls.clear();
    CUpdateNotifier notifier;
    CListener listeners[3];
    listeners[2].attach(&notifier, &keyA);
    listeners[0].attach(&notifier, &keyA);
    listeners[1].attach(&notifier, &keyB);
    const CUpdateRecord a{&keyA};
    notifier.notify(&a);
    notifier.notify(nullptr); // nobody listens to key null
    EXPECT_EQ(CListener::calls, (std::vector{&listeners[0], &listeners[2]}));
    listeners[2].attach(&notifier, &keyB); // moves
    notifier.notify(&a);
    EXPECT_EQ(CListener::calls.size(), 3U);
}

TEST(UpdateNotifierTest, notifiersMayGoWhileListenersLeaveThem) {
    CListener::calls.clear();
    for (int round = 0; round < 300; round++) {
        auto notifier = std::make_unique<CUpdateNotifier>();
        CListener listener;
        listener.attach(notifier.get(), nullptr);
        std::thread other([&] {
            if (round % 2) listener.attach(nullptr, nullptr);
        });
        notifier.reset();
        other.join();
        CUpdateNotifier next; // the one before may have ended without a word
        listener.attach(&next, nullptr);
        next.notify(nullptr);
    }
    EXPECT_EQ(CListener::calls.size(), 300U);
}
