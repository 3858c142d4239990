#include "ViewFixture.h"

#include "UI/CUpdateTimer.h"
#include "UI/CUpdateTimerGroup.h"

using namespace lum;

namespace {

class TimerGroupTest : public CViewTest {
protected:
    CUpdateTimer* timer(const char* name, std::vector<std::pair<std::string, std::string>> given) {
        CObject* object = build({"ui:update-timer", name, std::move(given), {}, ""}, window);
        CProbe* probe = addProbe(window, (std::string("on-") + name).c_str());
        probe->listenObject((std::string("win.") + name).c_str(), "tick", "ping");
        CProbe::journal.clear();
        return dynamic_cast<CUpdateTimer*>(object);
    }
};

} // namespace

TEST_F(TimerGroupTest, ratesGiveWholePeriods) {
    const struct {
        const char* attribute;
        const char* value;
        int period; // milliseconds
    } rows[] = {{"fps", "40", 25},  {"fps", "30", 33},        {"fps", "0", 1000000},
                {"fps", "5000", 1}, {"interval", "250", 250}, {"interval", "0", 1}};
    CUpdateTimer* one = timer("one", {});
    EXPECT_EQ(one->getGroup(), nullptr);
    for (const auto& row : rows) {
        EXPECT_FALSE(one->setAttr(row.attribute, row.value, true));
        EXPECT_EQ(one->getPeriod(), row.period) << row.attribute << " " << row.value;
    }
}

TEST_F(TimerGroupTest, oneGroupServesAPeriodInOrder) {
    CUpdateTimer* last = timer("render", {{"fps", "40"}, {"order-asc", "1000"}});
    CUpdateTimer* early = timer("early", {{"fps", "40"}, {"order-asc", "-1"}});
    CUpdateTimer* middle = timer("middle", {{"interval", "25"}});
    timer("slow", {{"interval", "50"}});
    EXPECT_EQ(last->getGroup(), early->getGroup());
    EXPECT_EQ(last->getGroup(), middle->getGroup());
    EXPECT_FALSE(window->advanceTo(0.025));
    EXPECT_EQ(takeJournal(), (Journal{"on-early ping", "on-middle ping", "on-render ping"}));
    EXPECT_FALSE(window->advanceTo(0.05));
    EXPECT_EQ(takeJournal().size(), 4U);
}

TEST_F(TimerGroupTest, anEmptyGroupEndsEvenInItsOwnTick) {
    CUpdateTimer* one = timer("one", {{"interval", "10"}});
    EXPECT_FALSE(one->setAttr("interval", "20", true));
    EXPECT_EQ(window->findChild("group-timer#1"), nullptr);
    static CUpdateTimer* stopped;
    stopped = one;
    at<CProbe>("win.on-one")->onPing = [](CProbe& self, CAttrMap*) {
        EXPECT_FALSE(self.note("ping"));
        return stopped->setAttr("interval", "40", true);
    };
    EXPECT_FALSE(window->advanceTo(0.05));
    EXPECT_EQ(takeJournal().size(), 1U);
    EXPECT_FALSE(window->advanceTo(0.065));
    EXPECT_EQ(takeJournal().size(), 1U);
    CObject::destroyObject(one);
    EXPECT_EQ(window->findChild("group-timer"), nullptr);
    EXPECT_FALSE(window->advanceTo(1.0));
}

TEST_F(TimerGroupTest, anIntervalTimerTicksInTheRhythmOfItsFrames) {
    build({"ui:interval-timer",
           "slow",
           {{"interval", "0.3"}},
           {{"ui:update-timer", "update-timer", {{"fps", "10"}}, {}, ""}},
           ""},
          window);
    ASSERT_EQ(failure, "");
    addProbe(window, "probe")->listenObject("win.slow", "tick", "ping");
    CProbe::journal.clear();
    EXPECT_FALSE(window->advanceTo(0.25));
    EXPECT_EQ(takeJournal().size(), 0U);
    EXPECT_FALSE(window->advanceTo(0.95));
    EXPECT_EQ(takeJournal().size(), 3U);
}
