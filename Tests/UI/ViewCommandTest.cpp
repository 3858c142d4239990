#include "ViewFixture.h"

using namespace lum;

namespace {

using Attributes = std::vector<std::pair<std::string, std::string>>;

class ViewCommandTest : public CViewTest {
protected:
    CNode state(const char* name) {
        return {"ui:view-state",
                std::string("s-") + name,
                {{"state-name", name}, {"state-attrs", "hint"}, {"hint", name}},
                {},
                ""};
    }
    /// A view with states a, b and c, and a command for "mouse-release".
    CView* withCommand(Attributes attributes, std::vector<CNode> children = {}) {
        attributes.emplace_back("on-event", "mouse-release");
        buildRoot(
            {{"ui:view",
              "v",
              {},
              {state("a"),
               state("b"),
               state("c"),
               {"ui:view-command", "command", std::move(attributes), std::move(children), ""}},
              ""}});
        EXPECT_EQ(failure, "");
        return at("win.root.v");
    }
};

} // namespace

TEST_F(ViewCommandTest, statesChangeUnderTheirConditions) {
    CView* view = withCommand({{"condition-state-set", "a b"},
                               {"condition-state-unset", "c"},
                               {"toggle-attr", "flag"},
                               {"set-attr", "mark"},
                               {"set-attr-value", "7"}});
    const auto isRun = [&] {
        const std::string before = attr(view, "flag");
        EXPECT_FALSE(view->runEvent("mouse-release"));
        return attr(view, "flag") != before;
    };
    EXPECT_FALSE(isRun());
    EXPECT_FALSE(view->setState("a"));
    EXPECT_FALSE(isRun()) << "it needs both";
    EXPECT_FALSE(view->setState("b"));
    EXPECT_TRUE(isRun());
    EXPECT_EQ(attr(view, "flag"), "true");
    EXPECT_EQ(attr(view, "mark"), "7");
    EXPECT_TRUE(isRun());
    EXPECT_EQ(attr(view, "flag"), "false");
    EXPECT_FALSE(view->setState("c"));
    EXPECT_FALSE(isRun());
}

TEST_F(ViewCommandTest, namedStatesAreSetUnsetAndToggled) {
    CView* view = withCommand({{"set-state", "a"}, {"unset-state", "b"}, {"toggle-state", "c"}});
    EXPECT_FALSE(view->setState("b"));
    EXPECT_FALSE(view->runEvent("mouse-release"));
    EXPECT_TRUE(view->isStateSet("a"));
    EXPECT_FALSE(view->isStateSet("b"));
    EXPECT_TRUE(view->isStateSet("c"));
    EXPECT_FALSE(view->runEvent("mouse-release"));
    EXPECT_FALSE(view->isStateSet("c"));
}

TEST_F(ViewCommandTest, eventsGoToEachTargetWithTheirArguments) {
    static CAttrMap seen;
    addProbe(window, "probe")->onPing = [](CProbe& self, CAttrMap* arguments) {
        seen = *arguments;
        return self.note("called");
    };
    CNode params{"core:object", "run-event-params", {{"popup-tag", "menu"}}, {}, ""};
    params.children.push_back({"ui:param-data", "p", {{"attr", "index"}, {"value", "3"}}, {}, ""});
    CView* view = withCommand({{"run-event", "ping-arguments"},
                               {"run-event-target", "missing win.probe"},
                               {"run-event-forward-params", "delta nothing"}},
                              {params});
    CAttrMap arguments;
    arguments["delta"] = CAttrEntry::ofInt(120);
    arguments["other"] = CAttrEntry::ofInt(1);
    CProbe::journal.clear();
    EXPECT_FALSE(view->runEvent("mouse-release", arguments)) << "a missing target is skipped";
    EXPECT_EQ(takeJournal(), Journal{"probe called"});
    EXPECT_EQ(seen.size(), 3U);
    EXPECT_EQ(seen["delta"].intOr(0), 120);
    EXPECT_EQ(seen["index"].intOr(0), 3);
    EXPECT_EQ(seen["popup-tag"].text(), "menu");
    seen.clear();
}

TEST_F(ViewCommandTest, aParamOfAnotherTagFails) {
    CNode params{"core:object", "run-event-params", {}, {{"core:object", "p", {}, {}, ""}}, ""};
    CView* view = withCommand({{"run-event", "blur"}}, {params});
    EXPECT_EQ(first(view->runEvent("mouse-release")),
              "Unexpected tag 'core:object', expected <param>.");
}

TEST_F(ViewCommandTest, argumentsComeFromTheBlockAndFromTheEvent) {
    CNode block{"core:object",
                "event-params",
                {},
                {{"ui:param-data", "p", {{"attr", "state-name"}, {"value", "b"}}, {}, ""}},
                ""};
    buildRoot({{"ui:view",
                "v",
                {},
                {state("b"),
                 block,
                 {"ui:view-command",
                  "by-block",
                  {{"on-event", "mouse-press"},
                   {"run-event", "set-state"},
                   {"run-event-params", ".event-params"}},
                  {},
                  ""},
                 {"ui:view-command",
                  "by-event",
                  {{"on-event", "mouse-release"},
                   {"run-event", "unset-state"},
                   {"run-event-forward-params", "state-name"}},
                  {},
                  ""}},
                ""}});
    CView* view = at("win.root.v");
    EXPECT_FALSE(view->runEvent("mouse-press"));
    EXPECT_TRUE(view->isStateSet("b"));
    CAttrMap arguments;
    arguments["state-name"] = CAttrEntry::ofText("b");
    EXPECT_FALSE(view->runEvent("mouse-release", arguments));
    EXPECT_FALSE(view->isStateSet("b"));
}

TEST_F(ViewCommandTest, commandsRunInTheirOrderAndMayEndEachOther) {
    buildRoot({{"ui:view",
                "v",
                {},
                {{"ui:view-command",
                  "one",
                  {{"on-event", "focus"}, {"set-attr", "mark"}, {"set-attr-value", "1"}},
                  {},
                  ""},
                 {"ui:view-command",
                  "two",
                  {{"on-event", "focus"}, {"set-attr", "mark"}, {"set-attr-value", "2"}},
                  {},
                  ""}},
                ""}});
    CView* view = at("win.root.v");
    EXPECT_FALSE(view->runEvent("focus"));
    EXPECT_EQ(attr(view, "mark"), "2");
    CObject::destroyObject(at<CObject>("win.root.v.two"));
    EXPECT_FALSE(view->runEvent("focus"));
    EXPECT_EQ(attr(view, "mark"), "1");
}
