#include "Core/CEventBridge.h"
#include "Core/CTarget.h"
#include "TreeFixture.h"

#include <algorithm>
#include <atomic>
#include <thread>

using namespace lum;

namespace {

/// bridge > sender, one, two: what lives on the test's own thread.
class EventTest : public CTreeTest {
protected:
    void SetUp() override {
        CTreeTest::SetUp();
        queue = platform::CMessageQueue::current();
        bridge = add(root, "bridge", "ui:ui-event-bridge");
        sender = addProbe(bridge, "sender");
        one = addProbe(bridge, "one");
        two = addProbe(bridge, "two");
        CProbe::journal.clear();
    }
    static CErrorResult fail(CProbe& probe, CAttrMap*) {
        CProbe::journal.push_back(probe.getName().toUtf8() + " fails");
        return LUM_FAIL("no ping");
    }

    std::shared_ptr<platform::CMessageQueue> queue;
    CObject* bridge = nullptr;
    CProbe* sender = nullptr;
    CProbe* one = nullptr;
    CProbe* two = nullptr;
};

TEST_F(EventTest, anEventOfOnesOwnRunsAtOnce) {
    EXPECT_FALSE(one->runEvent("ping"));
    EXPECT_FALSE(one->runEvent("ping-arguments")); // gets an empty map
    CAttrMap arguments;
    EXPECT_FALSE(one->runEvent("ping", arguments));
    EXPECT_EQ(takeJournal(), (Journal{"one ping", "one ping::", "one ping"}));
    EXPECT_EQ(first(one->runEvent("pong")), "Unknown event 'pong'.");
}

TEST_F(EventTest, listenersOfTheThreadRunInAddressOrder) {
    CProbe* const low = std::min(one, two);
    CProbe* const high = std::max(one, two);
    high->listenObject("^sender", "go", "ping");
    low->listenObject("^sender", "go", "ping-arguments");
    low->listenObject("^sender", "other", "ping");
    low->listenObject("^sender", "go", "unheard"); // logged only, the listening stays
    EXPECT_FALSE(sender->fireEvent("go", false));
    EXPECT_EQ(takeJournal(), (Journal{low->getName().toUtf8() + " ping:bridge.sender:go",
                                      high->getName().toUtf8() + " ping"}));
    low->unlistenObject("^sender", "go");
    EXPECT_FALSE(sender->fireEvent("go", false));
    EXPECT_EQ(takeJournal(), Journal{high->getName().toUtf8() + " ping"});
}

TEST_F(EventTest, aSenderMayComeLaterAndComeBack) {
    one->listenObject("^later", "go", "ping");
    one->listenObject("top", "go", "ping"); // missing at the root
    for (int round = 0; round < 2; round++) {
        CObject* later = add(bridge, "later");
        CObject* top = add(root, "top");
        EXPECT_FALSE(later->fireEvent("go", false));
        EXPECT_FALSE(top->fireEvent("go", false));
        EXPECT_EQ(takeJournal(), (Journal{"one ping", "one ping"}));
        CObject::destroyObject(later);
        CObject::destroyObject(top);
    }
    EXPECT_FALSE(root->fireEvent("go", false)); // has no name to listen to
}

TEST_F(EventTest, theFirstFailureEndsTheCalls) {
    std::min(one, two)->onPing = fail;
    one->listenObject("^sender", "go", "ping");
    two->listenObject("^sender", "go", "ping");
    sender->listenObject(".", "next", "ping");
    EXPECT_EQ(first(sender->fireEvent("go", false)), "no ping");
    EXPECT_EQ(takeJournal().size(), 1u);
    EXPECT_FALSE(sender->fireEvent("next", false)); // the dropped call does not come back
    EXPECT_EQ(takeJournal(), Journal{"sender ping"});
}

TEST_F(EventTest, aHandlerMayListenUnlistenFireAndDestroy) {
    one->listenObject("^sender", "go", "ping-arguments");
    two->listenObject("^sender", "go", "ping-arguments");
    std::min(one, two)->onPing = [](CProbe& self, CAttrMap*) -> CErrorResult {
        CProbe* other = nullptr;
        LUM_TRY(self.findObject("^")->findObjectChecked(other,
                                                        self.getName() == "one" ? ".two" : ".one"));
        self.onPing = nullptr;
        self.listenObject("^sender", "nested", "ping-arguments");
        LUM_TRY(self.findObject("^sender")->fireEvent("nested", false));
        self.unlistenObject("^sender", "nested");
        CObject::destroyObject(other);
        return nullptr;
    };
    const std::string low = std::min(one, two)->getName().toUtf8();
    const std::string high = std::max(one, two)->getName().toUtf8();
    EXPECT_FALSE(sender->fireEvent("go", false));
    // The outer call that was still waiting ran inside, with its own arguments.
    EXPECT_EQ(takeJournal(),
              (Journal{high + " ping:bridge.sender:go", low + " ping:bridge.sender:nested"}));
    EXPECT_FALSE(sender->fireEvent("go", false));
    EXPECT_EQ(takeJournal(), Journal{low + " ping:bridge.sender:go"});
}

TEST_F(EventTest, aForcedEventRunsLaterAndNotOnANewObjectOfThatName) {
    one->listenObject("^sender", "go", "ping-arguments");
    two->listenObject("^sender", "go", "ping");
    add(root, "far", "probe")->listenObject("bridge.sender", "go", "ping"); // no bridge above it
    EXPECT_FALSE(sender->fireEvent("go", true));
    EXPECT_EQ(takeJournal(), Journal{});
    CObject::destroyObject(two);
    addProbe(bridge, "two");
    EXPECT_EQ(queue->pump(), 2);
    EXPECT_EQ(takeJournal(), Journal{"one ping:bridge.sender:go"});
}

TEST_F(EventTest, whatIsUnderWayDiesWithItsBridge) {
    one->postOwnEvent("me", "ping-arguments");
    EXPECT_EQ(queue->pump(), 1);
    EXPECT_EQ(takeJournal(), Journal{"one ping:me:"});
    one->postOwnEvent("me", "ping");
    CObject::destroyObject(bridge);
    queue->pump();
    EXPECT_EQ(takeJournal(), Journal{});
    addProbe(root, "far")->postOwnEvent("me", "ping"); // no bridge: nothing happens
    EXPECT_EQ(queue->pump(), 0);
}

TEST_F(EventTest, aChildEndsItselfFromItsOwnHandler) {
    one->onPing = [](CProbe& self, CAttrMap*) -> CErrorResult {
        self.releaseBridged();
        return nullptr;
    };
    EXPECT_FALSE(one->runEvent("ping"));
    EXPECT_NE(bridge->findChild("one"), nullptr);
    queue->pump();
    EXPECT_EQ(bridge->findChild("one"), nullptr);
}

TEST_F(EventTest, aTargetTakesItsListeningsAlong) {
    CTarget<CProbe> target(*one);
    target.addEvent("go", "ping");
    target.setPath("^none");
    target.setPath("^sender");
    EXPECT_EQ(target.getObject(), sender);
    target.addEvent("more", "ping");
    EXPECT_FALSE(sender->fireEvent("go", false));
    EXPECT_FALSE(sender->fireEvent("more", false));
    EXPECT_EQ(takeJournal().size(), 2u);
    target.setPath("^two");
    EXPECT_FALSE(sender->fireEvent("go", false));
    EXPECT_EQ(takeJournal(), Journal{});
    EXPECT_FALSE(two->fireEvent("go", false));
    EXPECT_EQ(takeJournal(), Journal{"one ping"});
}

// Another thread fires without pause while this one listens, leaves, makes and destroys objects.
TEST_F(EventTest, eventsCrossThreadsWhileTheTreeChanges) {
    constexpr int kRounds = 300;
    CObject* const far = add(root, "far");
    std::atomic<bool> isOver = false;
    std::atomic<int> fired = 0;
    std::thread firing([&] {
        while (!isOver) {
            CAttrMap arguments{{"n", CAttrEntry::ofInt(fired)}};
            EXPECT_FALSE(far->fireEvent("go", arguments, false));
            fired++;
            std::this_thread::yield();
        }
    });
    size_t calls = 0;
    for (int round = 0; round < kRounds || calls == 0; round++) {
        CProbe* guest = addProbe(bridge, "guest");
        guest->listenObject("far", "go", "ping-arguments");
        const int before = fired;
        while (fired < before + 2) std::this_thread::yield();
        if (round % 2) queue->pump();
        CObject::destroyObject(guest);
        calls += takeJournal().size();
    }
    isOver = true;
    firing.join();
    queue->pump();
    EXPECT_EQ(takeJournal(), Journal{}); // none left to hear it
}

} // namespace
