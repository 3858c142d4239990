#include "ViewFixture.h"

#include <set>

using namespace lum;

namespace {

CNode state(const char* name, std::vector<std::pair<std::string, std::string>> values,
            const char* duration = "0") {
    std::string names;
    for (const auto& value : values) names += value.first + " ";
    CNode node{"ui:view-state",
               std::string("state-") + name,
               {{"state-name", name},
                {"state-attrs", names},
                {"duration", duration},
                {"morph-duration", duration}},
               {},
               ""};
    for (const auto& value : values) node.attributes.push_back(value);
    return node;
}

class ViewStateTest : public CViewTest {
protected:
    CView* button(std::vector<CNode> states,
                  std::vector<std::pair<std::string, std::string>> attributes = {}) {
        buildRoot({{"ui:view", "button", attributes, std::move(states), ""}});
        frameAt(0.0);
        return at("win.root.button");
    }
    CView* colored() {
        return button({state("active", {{"color-state", "Active"}, {"image-set-range", "Down"}}),
                       state("hover", {{"color-state", "Hover"}}),
                       state("solo", {{"color-state", "/Solo"}}),
                       state("pushed", {{"image-set-range", "Pushed"}})});
    }
    double now = 0.0;
    void settle() {
        for (int i = 0; i < 4; i++) frameAt(now += 0.01);
    }
};

} // namespace

TEST_F(ViewStateTest, activeStatesMergeInSortedOrderHoweverTheyWereReached) {
    CView* view = colored();
    const struct {
        std::vector<const char*> steps; // "-name" removes
        const char* colorState;
        const char* range;
    } rows[] = {
        {{"active", "hover"}, "ActiveHover", "Down"},
        {{"hover", "active"}, "ActiveHover", "Down"},
        {{"pushed", "active", "hover", "-pushed"}, "ActiveHover", "Down"},
        {{"active", "pushed"}, "Active", "Pushed"},
        {{"active", "hover", "solo"}, "Solo", "Down"},
        {{"hover", "unheard-of"}, "Hover", ""},
        {{"hover", "-hover"}, "", ""},
    };
    for (const auto& row : rows) {
        for (const char* step : row.steps)
            EXPECT_FALSE(*step == '-' ? view->unsetState(step + 1) : view->setState(step));
        settle();
        EXPECT_EQ(view->getCrossfade().getCurrent().colorState, row.colorState) << row.steps[0];
        EXPECT_EQ(view->getCrossfade().getCurrent().imageSetRange, row.range) << row.steps[0];
        EXPECT_FALSE(view->isMorphing());
        EXPECT_FALSE(view->unsetState("active hover pushed solo"));
        settle();
    }
}

TEST_F(ViewStateTest, aViewsOwnLookShowsWhereNoActiveStateHasOne) {
    CView* view = colored();
    EXPECT_FALSE(view->setState("pushed"));
    settle();
    set(view, "color-state", "Error");
    EXPECT_EQ(view->getCrossfade().getTarget().colorState, "Error");
    EXPECT_EQ(view->getCrossfade().getTarget().imageSetRange, "Pushed");
    set(view, "image-set-range", "Flat");
    settle();
    EXPECT_EQ(view->getCrossfade().getCurrent().imageSetRange, "Pushed");
    EXPECT_FALSE(view->unsetState("pushed"));
    settle();
    EXPECT_EQ(view->getCrossfade().getCurrent().imageSetRange, "Flat");
}

TEST_F(ViewStateTest, plainAttributesComeAndGoAtOnce) {
    CView* view = button({state("pushed", {{"spread", "3"}, {"hint", "down"}})}, {{"hint", "up"}});
    EXPECT_FALSE(view->setState("pushed"));
    EXPECT_EQ(attr(view, "hint"), "down");
    EXPECT_FALSE(view->unsetState("pushed"));
    EXPECT_EQ(attr(view, "hint"), "up");
    EXPECT_EQ(view->getDrawRect(), view->getRect());
}

TEST_F(ViewStateTest, opacityEasesUpwardsAndFallsAtOnce) {
    CView* view = button({state("shown", {{"opacity", "1"}}, "0.4")}, {{"opacity", "0.2"}});
    EXPECT_FALSE(view->setState("shown"));
    EXPECT_TRUE(at("win.root")->isDynamic()) << "an ancestor of what moves is dynamic";
    frameAt(0.2);
    EXPECT_NEAR(view->getFinalOpacity(), 0.6, 1e-4);
    frameAt(0.4);
    EXPECT_EQ(view->getFinalOpacity(), 1.0);
    EXPECT_FALSE(view->isMorphing());
    EXPECT_FALSE(at("win.root")->isDynamic());
    EXPECT_FALSE(view->unsetState("shown"));
    frameAt(0.5);
    EXPECT_EQ(view->getFinalOpacity(), 0.2);
    EXPECT_TRUE(view->isMorphing());
    frameAt(0.81);
    EXPECT_FALSE(view->isMorphing());
}

TEST_F(ViewStateTest, aWidthMovesAndItsNeighbourWithIt) {
    buildRoot({{"ui:view",
                "a",
                {{"placement", "left"}, {"width", "10"}},
                {state("wide", {{"width", "50"}}, "1")},
                ""},
               {"ui:view", "b", {{"placement", "left"}, {"width", "10"}}, {}, ""}});
    frameAt(0.0);
    EXPECT_FALSE(at("win.root.a")->setState("wide"));
    frameAt(0.5);
    EXPECT_EQ(at("win.root.b")->getRect().x, 30.0);
    frameAt(1.0);
    EXPECT_EQ(at("win.root.b")->getRect().x, 50.0);
}

// Docked to the left a view has the parent's height and the width of what it holds.
TEST_F(ViewStateTest, aSizeThatIsNoNumberReturnsFromTheMiddleOfAMove) {
    const struct {
        std::vector<std::pair<std::string, std::string>> own;
        double width, height;
    } rows[] = {
        {{}, 0.0, 60.0},
        {{{"width", "compact"}, {"height", "compact"}}, 0.0, 0.0},
        {{{"width", "50%"}, {"height", "50%"}}, 50.0, 30.0},
        {{{"width", "8"}, {"height", "9"}}, 8.0, 9.0},
    };
    for (const auto& row : rows) {
        auto attributes = row.own;
        attributes.emplace_back("placement", "left");
        CView* view =
            button({state("hover", {{"width", "80"}, {"height", "90"}}, "0.3")}, attributes);
        now = window->clock();
        for (const double wait : {0.1, 1.0}) { // on the way there, and arrived
            EXPECT_FALSE(view->setState("hover"));
            frameAt(now += wait);
            EXPECT_GT(view->getRect().width, row.width);
            EXPECT_FALSE(view->unsetState("hover"));
            for (int i = 0; i < 4; i++) frameAt(now += 0.2);
            EXPECT_EQ(view->getRect().width, row.width);
            EXPECT_EQ(view->getRect().height, row.height);
            EXPECT_FALSE(view->isMorphing());
        }
        CObject::destroyObject(at<CObject>("win.root"));
    }
}

TEST_F(ViewStateTest, whatAStateHasSetIsAsBeforeWhenTheViewItselfSaysNothing) {
    const struct {
        const char* name;
        const char* value;
    } rows[] = {{"alignment-h", "left"},
                {"alignment-v", "bottom"},
                {"inline-alignment-h", "left"},
                {"inline-alignment-v", "top"},
                {"placement", "top"},
                {"is-visible", "false"},
                {"draw-opacity", "0.5"},
                {"opacity", "0.5"},
                {"ratio-x", "0.5"},
                {"ratio-y", "0.5"},
                {"width", "60"},
                {"height", "40"},
                {"max-width", "6"},
                {"min-height", "20"},
                {"compact-width", "0"},
                {"outer-border", "3"},
                {"inner-border", "3"},
                {"is-hidden", "true"}};
    const std::vector<std::pair<std::string, std::string>> places[] = {
        {},
        {{"placement", "left"}},
        {{"placement", "overlay"}},
        {{"placement", "overlay"}, {"width", "50%"}, {"height", "50%"}}};
    std::set<std::string> effective;
    for (auto own : places) {
        own.emplace_back("is-scrollable", "true");
        std::vector<CNode> content{{"ui:view", "in", {{"width", "10"}, {"height", "8"}}, {}, ""}};
        for (const auto& row : rows) content.push_back(state(row.name, {{row.name, row.value}}));
        CView* view = button(content, own);
        const auto layout = [&] { return window->dumpLayout(); };
        const CString before = layout();
        for (const auto& row : rows) {
            EXPECT_FALSE(view->setState(row.name)) << row.name;
            for (int i = 0; i < 2; i++) frameAt(now += 0.1);
            if (layout() != before || view->getFinalOpacity() == 0.5) effective.insert(row.name);
            EXPECT_FALSE(view->unsetState(row.name)) << row.name;
            for (int i = 0; i < 2; i++) frameAt(now += 0.1);
            EXPECT_EQ(layout().toUtf8(), before.toUtf8()) << row.name << ", " << own.size();
            EXPECT_EQ(view->getFinalOpacity(), 1.0) << row.name;
        }
        CObject::destroyObject(at<CObject>("win.root"));
    }
    EXPECT_EQ(effective.size(), std::size(rows));
}

TEST_F(ViewStateTest, aLookThatComesDuringAFadeWaitsForItsEnd) {
    CView* view =
        button({state("a", {{"color-state", "A"}}, "1"), state("b", {{"color-state", "B"}}, "1")});
    const CLookCrossfade& fade = view->getCrossfade();
    EXPECT_FALSE(view->setState("a"));
    frameAt(0.5);
    EXPECT_NEAR(fade.getFactor(), 0.5, 1e-9);
    EXPECT_FALSE(view->setState("b"));
    EXPECT_EQ(fade.getTarget().colorState, "A");
    frameAt(0.9); // the factor is above 0.95
    EXPECT_EQ(fade.getCurrent().colorState, "A");
    EXPECT_EQ(fade.getTarget().colorState, "AB");
    EXPECT_EQ(fade.getFactor(), 0.0);
    frameAt(1.4);
    EXPECT_NEAR(fade.getFactor(), 0.5, 1e-9);
    frameAt(1.9);
    EXPECT_EQ(fade.getCurrent().colorState, "AB");
    EXPECT_FALSE(view->isMorphing());
}

TEST_F(ViewStateTest, stateReadyComesOnceWhenAllHasArrived) {
    CView* view =
        button({state("on", {{"opacity", "1"}, {"color-state", "On"}}, "0.2")}, {{"opacity", "0"}});
    CProbe* probe = addProbe(window, "probe");
    probe->listenObject("win.root.button", "state-ready", "ping");
    CProbe::journal.clear();
    EXPECT_FALSE(view->setState("on"));
    frameAt(0.1);
    EXPECT_TRUE(takeJournal().empty());
    frameAt(0.3);
    EXPECT_EQ(takeJournal(), Journal{"probe ping"});
    frameAt(0.5);
    EXPECT_TRUE(takeJournal().empty());
}

TEST_F(ViewStateTest, aStateWhoseBlockHasGoneIsNone) {
    CView* view = colored();
    EXPECT_FALSE(view->setState("hover"));
    CObject::destroyObject(at<CObject>("win.root.button.state-hover"));
    EXPECT_FALSE(view->isStateSet("hover"));
    EXPECT_FALSE(view->setState("hover active"));
    settle();
    EXPECT_EQ(view->getCrossfade().getCurrent().colorState, "Active");
}

TEST_F(ViewStateTest, hoverFollowsThePointer) {
    CView* view = colored();
    EXPECT_FALSE(view->runEvent("mouse-enter"));
    EXPECT_TRUE(view->isStateSet("hover"));
    EXPECT_FALSE(view->runEvent("mouse-exit"));
    EXPECT_FALSE(view->isStateSet("hover"));
}

TEST_F(ViewStateTest, faultyStatesAndViewsFailWithTheirMessages) {
    const auto stateNode = [](std::vector<std::pair<std::string, std::string>> attributes) {
        return CNode{"ui:view-state", "s", std::move(attributes), {}, ""};
    };
    buildRoot({});
    const struct {
        CNode node;
        const char* message;
    } rows[] = {
        {stateNode({{"state-attrs", "color"}}), "State name is empty."},
        {stateNode({{"state-name", "x"}}), "The state-attrs attribute is empty in win.root.s"},
        {stateNode({{"state-name", "x"}, {"state-attrs", "duration"}}),
         "Reserved attribute name specified in state-attrs in win.root.s"},
        {{"ui:view", "v", {{"alignment-h", "top"}}, {}, ""}, "Invalid alignment-h 'top'."},
        {{"ui:view", "v", {{"inline-alignment-v", "left"}}, {}, ""},
         "Invalid inline-alignment-v 'left'."},
        {{"ui:view", "v", {{"placement", "middle"}}, {}, ""}, "Invalid placement 'middle'."},
        {{"ui:view", "v", {{"placement", "match"}, {"placement-match", ".x"}}, {}, ""},
         "Invalid match '.x'."},
        {{"ui:view", "v", {{"width", "wide"}}, {}, ""}, "Invalid width syntax 'wide'."},
        {{"ui:view", "v", {{"height", "compact x%"}}, {}, ""},
         "Invalid compact height syntax 'compact x%'."},
        {{"ui:view", "v", {{"palette", "none"}}, {}, ""}, "Unable to find palette object 'none'."},
        {{"ui:caption", "c", {}, {}, ""}, "Attribute 'font-name' is empty"},
        {{"ui:caption", "c", {{"font-name", "nofont"}}, {}, ""}, "Font 'nofont' not found."},
    };
    for (const auto& row : rows) {
        CObject* object = build(row.node, at<CObject>("win.root"));
        EXPECT_EQ(failure, row.message);
        CObject::destroyObject(object);
    }
    build({"ui:view-state", "s", {{"state-name", "x"}, {"state-attrs", "color"}}, {}, ""});
    EXPECT_EQ(failure, "Parent object is not a view.");
    build({"ui:view", "lost", {}, {}, ""});
    EXPECT_EQ(failure, "Unable to find sector map.");
    build({"ui:view", "lost", {}, {}, ""}, window);
    EXPECT_EQ(failure, "Unable to locate root view.");
}
