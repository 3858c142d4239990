#include "ViewFixture.h"

#include "UI/CViewColors.h"

using namespace lum;

namespace {

class ViewColorTest : public CViewTest {
protected:
    /// Full tone of a slot of a view, 0xRRGGBB; white without a colour.
    static uint32_t tone(CView* view, int slot, const char* colorState) {
        return toneOf(view->getColor(slot, {"", colorState, ""}));
    }
    static uint32_t toneOf(const CDrawColor& color) {
        if (!color.table) return 0xffffff;
        const uint8_t* entry = color.table->entries[255];
        return static_cast<uint32_t>(entry[2] << 16 | entry[1] << 8 | entry[0]);
    }
};

} // namespace

TEST_F(ViewColorTest, namesAreBuiltFromColourSlotAndState) {
    CViewColors colors;
    colors.setColor("Button");
    colors.setSlots("|Text|/Other");
    EXPECT_EQ(colors.nameOf(0, ""), "Button");
    EXPECT_EQ(colors.nameOf(1, ""), "ButtonText");
    EXPECT_EQ(colors.nameOf(1, "Active"), "ButtonText_Active");
    EXPECT_EQ(colors.nameOf(2, "ActiveHover"), "Other_ActiveHover");
}

TEST_F(ViewColorTest, slotsStatesAndSharedColoursFindTheirTones) {
    buildPalette({{"Button", "102030"},
                  {"Button_Active", "405060"},
                  {"ButtonMark", "708090"},
                  {"Lone", "a0b0c0"}});
    buildRoot({{"ui:view",
                "v",
                {{"color", "Button"}},
                {{"ui:view-color-slot", "s1", {{"slot-index", "1"}, {"color", "Mark"}}, {}, ""},
                 {"ui:view-color-slot",
                  "s2",
                  {{"slot-index", "2"}, {"color", "Lone"}, {"is-color-abs-path", "true"}},
                  {},
                  ""},
                 {"ui:view", "child", {{"color", "Nothing"}, {"shared-color", "^"}}, {}, ""}},
                ""}});
    ASSERT_EQ(failure, "");
    CView* view = at("win.root.v");
    EXPECT_EQ(tone(view, 0, ""), 0x102030U);
    EXPECT_EQ(tone(view, 0, "Active"), 0x405060U);
    EXPECT_EQ(tone(view, 1, ""), 0x708090U);
    EXPECT_EQ(tone(view, 2, ""), 0xa0b0c0U);
    EXPECT_EQ(tone(view, 0, "Unknown"), 0xffffffU) << "white where the palette has nothing";
    EXPECT_EQ(tone(view, 9, ""), 0xffffffU);
    EXPECT_EQ(tone(at("win.root.v.child"), 0, ""), 0x102030U);
}

TEST_F(ViewColorTest, aDisabledViewHasOneColourForFillsAndOneForTexts) {
    buildPalette({{"Button", "102030"},
                  {"Button_Active", "405060"},
                  {"ButtonMark", "708090"},
                  {"Lone", "a0b0c0"},
                  {"Disabled", "010203"},
                  {"DisabledTransparent", "040506"},
                  {"DisabledText", "070809"}});
    buildRoot({{"ui:view", "v", {{"color", "Button"}, {"color-slots", "|Mark|/Lone"}}, {}, ""}});
    CView* view = at("win.root.v");
    const auto tones = [view] {
        return std::vector<uint32_t>{tone(view, 0, "Active"), tone(view, 1, ""), tone(view, 2, ""),
                                     toneOf(view->getTextColor(0, {}))};
    };
    using Tones = std::vector<uint32_t>;
    const Tones enabled{0x405060, 0x708090, 0xa0b0c0, 0x102030};
    EXPECT_EQ(tones(), enabled);
    set(at<CObject>("win.root"), "is-disabled", "true");
    EXPECT_EQ(tones(), (Tones{0x010203, 0x010203, 0xa0b0c0, 0x070809}));
    set(view, "disabled-color", "DisabledTransparent");
    EXPECT_EQ(tones(), (Tones{0x040506, 0x040506, 0xa0b0c0, 0x070809}));
    set(at<CObject>("win.root"), "is-disabled", "false");
    EXPECT_EQ(tones(), enabled);
}

TEST_F(ViewColorTest, sharedColoursAreThoseThatTheParentShows) {
    buildPalette({{"Button", "102030"},
                  {"Button_Active", "405060"},
                  {"ButtonMark", "708090"},
                  {"Lone", "a0b0c0"}});
    build({"ui:dynamic-palette",
           "other",
           {},
           {{"ui:dynamic-color",
             "Lone",
             {{"tone", "010203"}, {"contrast", "1"}, {"gradient-size", "1"}},
             {},
             ""}},
           ""});
    buildRoot({{"ui:view",
                "v",
                {{"color", "Button"}},
                {{"ui:view-state",
                  "s",
                  {{"state-name", "on"}, {"state-attrs", "color-state"}, {"color-state", "Active"}},
                  {},
                  ""},
                 {"ui:view",
                  "between",
                  {{"shared-color", "^"}, {"placement", "overlay"}},
                  {{"ui:color-fill",
                    "fill",
                    {{"color-state", "Own"}, {"shared-color", "^"}, {"placement", "overlay"}},
                    {},
                    ""}},
                  ""}},
                ""}},
              "100", "60");
    ASSERT_EQ(failure, "");
    set(at<CObject>("win.root.v"), "placement", "full");
    EXPECT_EQ(pixel(5, 5), 0x102030U);
    EXPECT_FALSE(at("win.root.v")->setState("on"));
    frameAt(0.1);
    EXPECT_EQ(pixel(5, 5), 0x405060U);
    EXPECT_FALSE(at("win.root.v")->unsetState("on"));
    frameAt(0.2);
    EXPECT_EQ(pixel(5, 5), 0x102030U);
    const struct {
        const char* name;
        const char* value;
        uint32_t color;
    } rows[] = {{"color-slots", "Mark", 0x708090},
                {"color-slots", "", 0x102030},
                {"color", "Lone", 0xa0b0c0},
                {"palette", "other", 0x010203}};
    for (const auto& row : rows) {
        set(at<CObject>("win.root.v"), row.name, row.value);
        EXPECT_EQ(pixel(5, 5), row.color) << row.name << " " << row.value;
    }
}

TEST_F(ViewColorTest, achangedColourReachesTheView) {
    buildPalette({{"Panel", "102030"}});
    buildRoot({{"ui:color-fill", "fill", {{"color", "Panel"}, {"placement", "full"}}, {}, ""}});
    EXPECT_EQ(pixel(5, 5), 0x102030U);
    window->takeDirty();
    set(at<CObject>("ui.palette.Panel"), "tone", "a0b0c0");
    EXPECT_FALSE(window->takeDirty().empty());
    EXPECT_EQ(pixel(5, 5), 0xa0b0c0U);
}

// The ramps outlive their colours, so that a new colour of the same values has them at once.
TEST_F(ViewColorTest, aColourThatGoesAndComesBackReachesTheView) {
    const auto panel = [](const char* path) {
        return CNode{
            "ui:dynamic-color",
            "Panel",
            {{"tone", "102030"}, {"contrast", "1"}, {"gradient-size", "1"}, {"palette", path}},
            {},
            ""};
    };
    buildPalette({});
    build({"ui:dynamic-palette", "other", {}, {}, ""});
    buildRoot({{"ui:color-fill",
                "a",
                {{"color", "Panel"}, {"placement", "left"}, {"width", "50"}},
                {},
                ""},
               {"ui:color-fill",
                "b",
                {{"color", "Panel"}, {"placement", "full"}, {"palette", "other"}},
                {},
                ""}});
    const struct {
        const char* path;
        int x;
    } rows[] = {{"ui.palette", 5}, {"other", 80}};
    for (const auto& row : rows) {
        EXPECT_EQ(pixel(row.x, 5), 0xffffffU);
        for (int i = 0; i < 2; i++) {
            CObject* color = build(panel(row.path), at<CObject>(row.path));
            EXPECT_EQ(pixel(row.x, 5), 0x102030U) << row.path;
            CObject::destroyObject(color);
            EXPECT_EQ(pixel(row.x, 5), 0xffffffU) << row.path;
        }
    }
}
