#include "Core/TempFolder.h"
#include "Core/TreeFixture.h"
#include "Other/COtherCreators.h"

using namespace lum;

namespace {

class Style : public CTreeTest {
protected:
    void SetUp() override {
        static const CCreatorRow* const kTables[] = {kCoreCreators, kProbeCreators, kOtherCreators,
                                                     nullptr};
        setenv("XDG_CONFIG_HOME", folder.path("user").c_str(), 1);
        CProbe::journal.clear();
        ASSERT_FALSE(CApplication::start({kTables, nullptr, nullptr}));
        ASSERT_FALSE(CApplication::get()->initSharedObject(""));
        ASSERT_FALSE(CApplication::get()->initRootObject(root, ""));
    }
    void TearDown() override {
        CTreeTest::TearDown();
        unsetenv("XDG_CONFIG_HOME");
    }
    CTempFolder folder;
};

CNode feature(const char* name, const char* brightness) {
    return {"ui:dynamic-color",
            name,
            {{"gradient-size", "1"}, {"brightness", brightness}, {"editable-features", "be"}},
            {},
            ""};
}

} // namespace

TEST_F(Style, attributesFollowFeaturesAndOptions) {
    const CNode style{"ui:style", "style", {{"ui-shadows", "true"}}, {}, ""};
    const CNode palette{"ui:dynamic-palette",
                        "palette",
                        {},
                        {feature("FlatPanels", "0"), feature("LargerPanelBorder", "1"),
                         feature("MeterInnerBorder", "0")},
                        ""};
    folder.put(
        "tree",
        CNode::bytesOf({"", "", {}, {{"ui:ui-event-bridge", "ui", {}, {style, palette}, ""}}, ""}));
    const CErrorResult error = root->loadXMLData(folder / "tree", true);
    ASSERT_FALSE(error) << first(error);
    CObject* object = root->findObject("ui.style");
    CObject* flat = root->findObject("ui.palette.FlatPanels");
    addProbe(root->findObject("ui"), "probe")->listenObject("ui.style", "palette-updated", "ping");

    struct {
        CObject* target;
        const char* attribute;
        const char* value;
        std::vector<std::pair<const char*, const char*>> expected;
    } const steps[] = {
        {object,
         "ui-textures",
         "false",
         {{"title-frame-caption-border", "B3"},
          {"meter-inner-border-spread2", "4"},
          {"is-global-light-hidden", "true"},
          {"is-shadow-hidden", "false"},
          {"overlay-gradient-opacity", "1"},
          {"scroller-shadow-opacity", "0.33"},
          {"overlay-texture-opacity", "0.33"},
          {"panel-color", "RealisticPanel"}}},
        {object,
         "ui-spotlight",
         "true",
         {{"overlay-gradient-opacity", "0.66"}, {"is-global-light-hidden", "false"}}},
        {object,
         "ui-textures",
         "true",
         {{"overlay-texture-opacity", "1"},
          {"overlay-texture-opacity-bg", "1"},
          {"panel-color", "Panel"},
          {"panel-gradient-color", "PanelGradient"}}},
        {flat,
         "brightness",
         "1",
         {{"overlay-gradient-opacity", "0"}, {"overlay-texture-opacity", "0.75"}}},
        {object,
         "ui-textures",
         "false",
         {{"overlay-texture-opacity", "0"},
          {"panel-color", "Panel"},
          {"panel-gradient-color", "RealisticPanelGradient"}}},
        {root->findObject("ui.palette.LargerPanelBorder"),
         "brightness",
         "0",
         {{"title-frame-caption-border", "B5.5"}}},
        {root->findObject("ui.palette.MeterInnerBorder"),
         "brightness",
         "1",
         {{"meter-inner-border-spread2", "5"}}},
        {object,
         "ui-shadows",
         "false",
         {{"is-shadow-hidden", "true"}, {"scroller-shadow-opacity", "0"}}},
    };
    for (const auto& step : steps) {
        set(step.target, step.attribute, step.value);
        EXPECT_EQ(takeJournal(), Journal{"probe ping"}) << step.attribute;
        for (const auto& [name, expected] : step.expected) {
            double number = 0.0;
            double wanted = 0.0;
            const bool isNumber =
                CString(expected).parseReal(wanted) && object->findAttr(name)->toReal(number);
            if (isNumber)
                EXPECT_EQ(number, wanted) << name;
            else
                EXPECT_EQ(attr(object, name), expected) << name;
        }
    }
}
