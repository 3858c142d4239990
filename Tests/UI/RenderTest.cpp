#include "ViewFixture.h"

using namespace lum;

namespace {

using Attributes = std::vector<std::pair<std::string, std::string>>;

CNode fill(const char* name, const char* color, Attributes attributes,
           std::vector<CNode> children = {}) {
    attributes.emplace_back("color", color);
    return {"ui:color-fill", name, std::move(attributes), std::move(children), ""};
}

class RenderTest : public CViewTest {
protected:
    void SetUp() override {
        CViewTest::SetUp();
        buildPalette(
            {{"Red", "ff0000"}, {"Blue", "0000ff"}, {"Black", "000000"}, {"Red_On", "00ff00"}});
    }
    /// Whether what was marked since the last call has this rectangle.
    bool isMarked(const CViewRect& rect) {
        const auto marked = window->takeDirty();
        return std::find(marked.begin(), marked.end(), rect) != marked.end();
    }
    static bool isNear(uint32_t a, uint32_t b) {
        for (const int shift : {0, 8, 16})
            if (std::abs(static_cast<int>(a >> shift & 255) - static_cast<int>(b >> shift & 255)) >
                2)
                return false;
        return true;
    }
};

const Attributes kFull{{"placement", "full"}};

} // namespace

TEST_F(RenderTest, viewsAreDrawnByOrderAndThenByTree) {
    buildRoot({fill("a", "Red", {{"placement", "overlay"}}),
               fill("b", "Blue", {{"placement", "overlay"}},
                    {fill("in", "Black",
                          {{"placement", "left"}, {"width", "10"}, {"z-index", "-1 ^"}})})});
    EXPECT_EQ(pixel(50, 5), 0x0000ffU);
    EXPECT_EQ(pixel(5, 5), 0x0000ffU) << "below the view that it is in";
    set(at<CObject>("win.root.b"), "z-index", "-5");
    EXPECT_EQ(pixel(50, 5), 0xff0000U);
    set(at<CObject>("win.root.b.in"), "z-index", "topmost 1");
    EXPECT_EQ(pixel(5, 5), 0x000000U);
    EXPECT_EQ(pixel(50, 5), 0xff0000U);
    set(at<CObject>("win.root.a"), "z-index", "3 nowhere");
    EXPECT_EQ(at("win.root.a")->getZ(), 3.0);
}

TEST_F(RenderTest, opacityBlendsAndMultipliesDownTheTree) {
    buildRoot({fill("ground", "Black", {{"placement", "overlay"}}),
               {"ui:view", "group", {{"placement", "overlay"}}, {fill("red", "Red", kFull)}, ""}});
    const struct {
        const char* own;
        const char* group;
        uint32_t color;
    } rows[] = {{"1", "1", 0xff0000},     {"0.5", "1", 0x800000}, {"0.5", "0.5", 0x400000},
                {"0.995", "1", 0xff0000}, {"0.004", "1", 0},      {"1", "0", 0}};
    for (const auto& row : rows) {
        set(at<CObject>("win.root.group.red"), "opacity", row.own);
        set(at<CObject>("win.root.group"), "draw-opacity", row.group);
        EXPECT_TRUE(isNear(pixel(5, 5), row.color)) << row.own << " in " << row.group;
    }
    set(at<CObject>("win.root.group"), "draw-opacity", "1");
    set(at<CObject>("win.root.group"), "opacity", "0");
    set(at<CObject>("win.root.group.red"), "opacity", "1");
    EXPECT_EQ(pixel(5, 5), 0xff0000U) << "a view's own opacity is not its children's";
}

TEST_F(RenderTest, hiddenViewsAreNotDrawnNorTheirChildren) {
    buildRoot({{"ui:view", "group", {{"placement", "overlay"}}, {fill("red", "Red", kFull)}, ""}});
    EXPECT_EQ(pixel(5, 5), 0xff0000U);
    set(at<CObject>("win.root.group"), "is-hidden", "true");
    EXPECT_EQ(pixel(5, 5), 0U);
    EXPECT_FALSE(at("win.root.group.red")->isDrawn());
}

TEST_F(RenderTest, aViewIsClippedByItsAncestorsUnlessItIgnoresThem) {
    buildRoot({{"ui:view",
                "box",
                {{"placement", "left"}, {"width", "20"}, {"height", "20"}, {"alignment-v", "top"}},
                {fill("red", "Red", {{"placement", "full"}, {"spread", "5"}})},
                ""}});
    EXPECT_EQ(pixel(19, 5), 0xff0000U);
    EXPECT_EQ(pixel(22, 5), 0U);
    set(at<CObject>("win.root.box.red"), "unclip-level", "1");
    EXPECT_EQ(pixel(22, 5), 0xff0000U);
    EXPECT_EQ(pixel(26, 5), 0U);
    window->takeDirty();
    set(at<CObject>("win.root.box.red"), "unclip-level", "0");
    EXPECT_TRUE(isMarked({0, 0, 25, 25})) << "where it showed";
}

// The view between is smaller than what changes around it, and stays as it is.
TEST_F(RenderTest, aViewThatIgnoresItsParentFollowsTheAncestorThatClipsIt) {
    buildRoot({{"ui:view",
                "box",
                {{"placement", "overlay"}, {"width", "30"}, {"alignment-h", "left"}},
                {{"ui:view",
                  "between",
                  {{"placement", "overlay"}, {"width", "10"}, {"alignment-h", "left"}},
                  {fill("red", "Red", {{"placement", "full"}, {"spread", "R60"}})},
                  ""}},
                ""}});
    const auto shownTo = [this] {
        frameAt(0.0);
        return at("win.root.box.between.red")->getShownRect().width;
    };
    EXPECT_EQ(shownTo(), 10.0);
    set(at<CObject>("win.root.box.between.red"), "unclip-level", "1");
    EXPECT_EQ(shownTo(), 30.0);
    set(at<CObject>("win.root.box"), "width", "50");
    EXPECT_EQ(shownTo(), 50.0);
    set(at<CObject>("win.root.box"), "width", "20");
    EXPECT_EQ(shownTo(), 20.0);
    set(at<CObject>("win.root.box.between.red"), "unclip-level", "2");
    EXPECT_EQ(shownTo(), 70.0);
    set(at<CObject>("win.root"), "width", "60");
    EXPECT_EQ(shownTo(), 60.0);
    CObject::destroyObject(at<CObject>("win.root.box.between.red"));
    set(at<CObject>("win.root"), "width", "70");
    frameAt(0.0);
}

TEST_F(RenderTest, aSpreadGrowsWithTheScaleWhereTheRectangleStays) {
    buildRoot({{"ui:picture", "picture", {{"placement", "overlay"}, {"spread", "-5"}}, {}, ""},
               fill("fill", "Red", {{"placement", "overlay"}, {"spread", "-5"}})},
              "100%", "100%");
    window->setWindowSize(100, 60);
    frameAt(0.0);
    window->takeDirty();
    window->setScale(2.0);
    frameAt(0.0);
    EXPECT_TRUE(isMarked({5, 5, 90, 50}));
    EXPECT_EQ(at("win.root.fill")->getShownRect(), (CViewRect{10, 10, 80, 40}));
    EXPECT_EQ(at("win.root.picture")->getShownRect(), (CViewRect{10, 10, 80, 40}));
}

TEST_F(RenderTest, aFadeShowsBothLooks) {
    CNode view = fill("red", "Red", {{"placement", "overlay"}});
    view.children.push_back({"ui:view-state",
                             "s",
                             {{"state-name", "on"},
                              {"state-attrs", "color-state"},
                              {"color-state", "On"},
                              {"duration", "1"}},
                             {},
                             ""});
    buildRoot({view});
    EXPECT_EQ(pixel(5, 5), 0xff0000U);
    EXPECT_FALSE(at("win.root.red")->setState("on"));
    EXPECT_EQ(pixel(5, 5), 0xff0000U);
    EXPECT_FALSE(window->advanceTo(0.5));
    // Half of the old look on the black ground, then half of the new one on that.
    EXPECT_TRUE(isNear(pixel(5, 5), 0x408000U));
    EXPECT_FALSE(window->advanceTo(1.0));
    EXPECT_EQ(pixel(5, 5), 0x00ff00U);
    EXPECT_FALSE(at("win.root.red")->isMorphing());
}

TEST_F(RenderTest, anyTilesOfAPaintingMakeTheWhole) {
    buildRoot(
        {fill("ground", "Blue", {{"placement", "overlay"}}),
         fill("a", "Red", {{"placement", "left"}, {"width", "33"}, {"opacity", "0.4"}}),
         fill("b", "Black", {{"placement", "bottom"}, {"height", "17"}, {"opacity", "0.7"}})});
    CLinearBitmap whole, tile;
    ASSERT_FALSE(window->paintAll(whole));
    ASSERT_FALSE(tile.setSize(24, 16, false));
    for (int y = 0; y < 60; y += 16)
        for (int x = 0; x < 100; x += 24) {
            for (int row = 0; row < 16; row++) std::memset(tile.row(row), 0, 24 * 4);
            ASSERT_FALSE(window->paint(tile, x, y, tile.bounds()));
            for (int row = 0; row < 16 && y + row < 60; row++)
                ASSERT_EQ(std::memcmp(tile.row(row), whole.row(y + row) + 4 * x,
                                      static_cast<size_t>(std::min(24, 100 - x)) * 4),
                          0)
                    << x << " " << y + row;
        }
}

TEST_F(RenderTest, whatMovesMarksBothPlaces) {
    buildRoot({fill("a", "Red", {{"placement", "left"}, {"width", "10"}}),
               fill("b", "Blue", {{"placement", "left"}, {"width", "10"}})});
    frameAt(0.0);
    window->takeDirty();
    set(at<CObject>("win.root.a"), "width", "30");
    frameAt(0.0);
    const auto dirty = window->takeDirty();
    const auto marks = [&dirty](const CViewRect& rect) {
        return std::find(dirty.begin(), dirty.end(), rect) != dirty.end();
    };
    EXPECT_TRUE(marks({10, 0, 10, 60})) << "where the second one was";
    EXPECT_TRUE(marks({30, 0, 10, 60})) << "where it is";
    frameAt(0.0);
    EXPECT_TRUE(window->takeDirty().empty()) << "a frame without a change touches nothing";
}

TEST_F(RenderTest, scrollingFollowsTheContent) {
    buildRoot({{"ui:view",
                "list",
                {{"placement", "full"}, {"is-scrollable", "true"}, {"is-auto-ratio-y", "true"}},
                {fill("a", "Red", {{"placement", "top"}, {"height", "80"}}),
                 fill("b", "Blue", {{"placement", "top"}, {"height", "40"}})},
                ""}});
    frameAt(0.0);
    CView* list = at("win.root.list");
    EXPECT_EQ(list->getAttrReal("ratio-y"), 0.5);
    set(list, "offset-y", "0.9");
    frameAt(0.0);
    EXPECT_EQ(list->getAttrReal("offset-y"), 0.5) << "the content stays in view";
    EXPECT_EQ(at("win.root.list.a")->getRect().y, -60.0);
    EXPECT_EQ(pixel(5, 30), 0x0000ffU);
    set(at<CObject>("win.root.list.b"), "is-hidden", "true");
    frameAt(0.0);
    EXPECT_EQ(list->getAttrReal("ratio-y"), 0.75);
}

TEST_F(RenderTest, readinessIsToldOnceAfterTheFirstLayout) {
    buildRoot({{"ui:view",
                "v",
                {{"placement", "full"}},
                {{"ui:view-command",
                  "c",
                  {{"on-event", "view-ready"}, {"set-attr", "width-seen"}, {"set-attr-value", "x"}},
                  {},
                  ""}},
                ""}});
    addProbe(window, "probe")->listenObject("win.root", "content-ready", "ping");
    CProbe::journal.clear();
    EXPECT_EQ(attr(at("win.root.v"), "width-seen"), "(absent)");
    frameAt(0.0);
    EXPECT_EQ(attr(at("win.root.v"), "width-seen"), "x");
    EXPECT_EQ(takeJournal(), Journal{"probe ping"});
    frameAt(0.1);
    EXPECT_TRUE(takeJournal().empty());
}
