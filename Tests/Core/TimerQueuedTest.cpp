#include "Core/CApplication.h"
#include "Core/CCoreCreators.h"
#include "Core/CEventBridge.h"
#include "Core/CTimerQueued.h"
#include "Platform/Clock.h"
#include "Platform/MessageQueue.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace lum;

namespace {

/// Listens to the timer beside it.
class CTickListener : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult onTick() {
        starts.push_back(platform::clockSeconds());
        if (workMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(workMs));
        return nullptr;
    }
    int workMs = 0;
    std::vector<double> starts; // seconds
};

constexpr CEventRow<CTickListener> kEvents[] = {{"on-tick", &CTickListener::onTick}};
constexpr CCreatorRow kTestCreators[] = {creatorRow<CTickListener>("test:tick-listener"),
                                         {nullptr, nullptr, nullptr}};

void CTickListener::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addEvents(kEvents);
}

/// A tree of its own with bridge, timer and listener, on the thread that makes it.
struct CTimerTree {
    CTimerTree() {
        drop(CApplication::get()->initRootObject(root, ""));
        CStdEventBridge* bridge = nullptr;
        drop(root->createChild(bridge, "ui:ui-event-bridge", "ui", false));
        drop(bridge->createChild(timer, "core:timer", "timer", false));
        drop(bridge->createChild(listener, "test:tick-listener", "listener", false));
        listener->listenObject("^timer", "tick", "on-tick");
    }
    ~CTimerTree() { CObject::destroyObject(root); }
    CTimerTree(const CTimerTree&) = delete;
    CTimerTree& operator=(const CTimerTree&) = delete;

    static void drop(CErrorResult error) { EXPECT_FALSE(error) << error.line(0).toUtf8(); }
    void set(const char* name, const char* text) { drop(timer->setAttr(name, text, true)); }
    size_t ticks() const { return listener->starts.size(); }
    void pumpUntil(size_t count) {
        const double limit = platform::clockSeconds() + 20.0;
        while (ticks() < count && platform::clockSeconds() < limit) queue->pumpFor(0.1);
        EXPECT_GE(ticks(), count);
    }

    std::shared_ptr<platform::CMessageQueue> queue = platform::CMessageQueue::current();
    CObject* root = nullptr;
    CTimerQueued* timer = nullptr;
    CTickListener* listener = nullptr;
};

class TimerQueuedTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static const CCreatorRow* const kTables[] = {kCoreCreators, kTestCreators, nullptr};
        CTimerTree::drop(CApplication::start({kTables, nullptr, nullptr}));
        CTimerTree::drop(CApplication::get()->initSharedObject(""));
    }
    static void TearDownTestSuite() { CApplication::finish(); }
};

} // namespace

TEST_F(TimerQueuedTest, ratesAreHeldWithinTheirRange) {
    struct CCase {
        const char* attribute;
        const char* text;
        double seconds;
    };
    const CCase cases[] = {{"fps", "0", 1000.0},     {"fps", "5000", 0.001},
                           {"fps", "40", 0.025},     {"interval", "0.0004", 0.001},
                           {"interval", "0.5", 0.5}, {"interval", "0", 0.001},
                           {"interval", "", 0.001}};
    CTimerTree tree;
    for (const CCase& c : cases) {
        tree.set(c.attribute, c.text);
        EXPECT_DOUBLE_EQ(tree.timer->getInterval(), c.seconds) << c.attribute << " " << c.text;
    }
}

// A timer that starts ticks at once, and with a long interval not again.
TEST_F(TimerQueuedTest, onlyAChangeOfTheRateRestartsTheTimer) {
    CTimerTree tree;
    EXPECT_FALSE(tree.timer->isRunning());
    tree.set("interval", "333.3");
    tree.pumpUntil(1);
    tree.set("interval", "333.3");
    tree.set("is-high-precision", "1");
    tree.queue->pumpFor(0.05);
    EXPECT_EQ(tree.ticks(), 1U);
    tree.set("interval", "333.4");
    tree.pumpUntil(2);
}

TEST_F(TimerQueuedTest, aSlowTickSkipsThePeriodsItTook) {
    CTimerTree tree;
    tree.listener->workMs = 25;
    tree.set("interval", "0.01");
    tree.pumpUntil(6);
    const std::vector<double>& starts = tree.listener->starts;
    for (size_t i = 1; i < starts.size(); i++) EXPECT_GE(starts[i] - starts[i - 1], 0.025);
    EXPECT_GE(tree.timer->getSkipCount(), 2);
    // Two periods are skipped after those in which the tick was running.
    EXPECT_GE(starts.back() - starts.front(), 0.045 * static_cast<double>(starts.size() - 1));
}

TEST_F(TimerQueuedTest, anUnservedTickIsPostedAgainAfterTwoSeconds) {
    CTimerTree tree;
    tree.set("interval", "0.01");
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_EQ(tree.queue->pump(), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(2300));
    EXPECT_EQ(tree.queue->pump(), 2);
}

TEST_F(TimerQueuedTest, theOtherKindTicksFromThePumpThroughTheBridge) {
    CTimerTree tree;
    tree.set("is-high-precision", "0");
    tree.set("interval", "0.01");
    tree.pumpUntil(3);
    tree.set("is-high-precision", "1");
    tree.pumpUntil(6);
    CObject::destroyObject(tree.timer);
    const size_t before = tree.ticks();
    tree.queue->pumpFor(0.05); // what was under way is dropped
    EXPECT_EQ(tree.ticks(), before);
}

TEST_F(TimerQueuedTest, treesOfSeveralThreadsComeAndGoWhileTheirTimersRun) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; t++) {
        threads.emplace_back([t] {
            for (int round = 0; round < 20; round++) {
                CTimerTree tree;
                if (t == 2) tree.set("is-high-precision", "0");
                tree.set("interval", "0.001");
                tree.pumpUntil(static_cast<size_t>(round % 3));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}
