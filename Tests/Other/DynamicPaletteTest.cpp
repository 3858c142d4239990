#include "Core/CLog.h"
#include "Core/CWriteSeqBuffer.h"
#include "Core/TempFolder.h"
#include "Core/TreeFixture.h"
#include "Other/CDynamicPalette.h"
#include "Other/COtherCreators.h"

#include <cstring>

using namespace lum;

namespace {

class CTestRecords : public CAppData {
public:
    explicit CTestRecords(const CTempFolder& folder)
        : CAppData("Maker/Product/", "Product/", "Test_"), moduleFolder(folder / "module/") {}

private:
    CString findModuleFolder() const override { return moduleFolder; }
    CString moduleFolder;
};

/// A palette with records of the test's own.
class CTestPalette : public CDynamicPalette {
public:
    static inline CAppData* testRecords = nullptr;

protected:
    CAppData& records() const override { return *testRecords; }
};

struct CTestStore : public CPaletteStore {
    void fetchPalette(CByteBuffer& out) override { out = blob; }
    CErrorResult storePalette(const CByteBuffer& stored) override {
        blob = stored;
        writes++;
        return nullptr;
    }
    CByteBuffer blob;
    int writes = 0;
};

const CCreatorRow kPaletteCreators[] = {creatorRow<CTestPalette>("test:palette"),
                                        {nullptr, nullptr, nullptr}};

using CAttrs = std::vector<std::pair<std::string, std::string>>;

CNode color(const std::string& name, CAttrs attributes, std::vector<CNode> children = {}) {
    if (std::none_of(attributes.begin(), attributes.end(),
                     [](const auto& item) { return item.first == "gradient-size"; }))
        attributes.push_back({"gradient-size", "1"});
    return {"ui:dynamic-color", name, std::move(attributes), std::move(children), ""};
}

class DynamicPalette : public CTreeTest {
protected:
    void SetUp() override {
        static const CCreatorRow* const kTables[] = {kCoreCreators, kProbeCreators, kOtherCreators,
                                                     kPaletteCreators, nullptr};
        setenv("XDG_CONFIG_HOME", folder.path("user").c_str(), 1);
        CTestPalette::testRecords = &records;
        CProbe::journal.clear();
        ASSERT_FALSE(CApplication::start({kTables, nullptr, nullptr}));
        ASSERT_FALSE(CApplication::get()->initSharedObject(""));
        ASSERT_FALSE(CApplication::get()->initRootObject(root, ""));
    }
    void TearDown() override {
        CTreeTest::TearDown();
        unsetenv("XDG_CONFIG_HOME");
    }
    CErrorResult tryLoad(std::vector<CNode> colors, CAttrs attributes = {}) {
        colors.insert(colors.begin(),
                      {"core:object", "cmods", {{"hover-brightness", "6"}}, {}, ""});
        const CNode palette{"test:palette", "palette", std::move(attributes), std::move(colors),
                            ""};
        const CNode ui{"ui:ui-event-bridge", "ui", {}, {palette}, ""};
        folder.put("tree", CNode::bytesOf({"", "", {}, {ui}, ""}));
        return root->loadXMLData(folder / "tree", true);
    }
    CDynamicPalette& load(std::vector<CNode> colors, CAttrs attributes = {}) {
        CErrorResult error = tryLoad(std::move(colors), std::move(attributes));
        EXPECT_FALSE(error) << first(error);
        return *root->findAs<CDynamicPalette>("ui.palette");
    }
    static uint32_t top(const CColor* ramp) {
        const uint8_t* entry = ramp->getTable()->entries[255];
        return static_cast<uint32_t>(entry[2] << 16 | entry[1] << 8 | entry[0]);
    }
    /// A blob of records with a tone and a brightness.
    static CByteBuffer blobOf(const std::vector<std::pair<const char*, uint32_t>>& tones,
                              uint32_t version = 1) {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(stream.writeValue(version));
        for (const auto& [name, tone] : tones) {
            EXPECT_FALSE(stream.writeString(name));
            for (const double value : {3.0, 0.7, 0.6}) EXPECT_FALSE(stream.writeValue(value));
            for (const uint32_t value : {tone, kNoTone, kNoTone})
                EXPECT_FALSE(stream.writeValue(value));
        }
        EXPECT_FALSE(stream.writeString(""));
        CByteBuffer out;
        stream.getBytes(out);
        return out;
    }

    CTempFolder folder;
    CTestRecords records{folder};
};

} // namespace

TEST_F(DynamicPalette, namesAndHoverNamesLeadToRamps) {
    CDynamicPalette& palette =
        load({color("Button", {{"tone", "808080"}, {"is-hoverable", "true"}}),
              color("Button_Active", {{"tone", "404040"}, {"is-hoverable", "true"}}),
              color("Icon[0]", {{"tone", "000000"}}), color("Icon[1]", {{"tone", "ff0000"}}),
              color("Icon[2]", {{"tone", "0000ff"}})});
    CDynamicColor* button = palette.findColor("Button");
    bool isHover = true;
    EXPECT_EQ(palette.findColor("Button", &isHover), button);
    EXPECT_FALSE(isHover);
    EXPECT_EQ(palette.findColor("Button_Hover", &isHover), button);
    EXPECT_TRUE(isHover);
    EXPECT_EQ(palette.findRamp("Button_Hover"), button->getHoverColor());
    EXPECT_GT(top(button->getHoverColor()), top(button->getColor()));
    EXPECT_EQ(palette.findColor("Button_ActiveHover"), palette.findColor("Button_Active"));
    EXPECT_EQ(palette.findColorAt("Icon", 0.2), palette.findColor("Icon[0]"));
    EXPECT_EQ(palette.findColorAt("Icon", 0.5), palette.findColor("Icon[1]"));
    EXPECT_EQ(palette.findColorAt("Icon", 9.0), palette.findColor("Icon[2]"));
    EXPECT_EQ(palette.findColorAt("Button", 0.5), button);
    setLogPath(folder / "log");
    EXPECT_EQ(palette.findColor("Nowhere"), nullptr);
    EXPECT_EQ(palette.findColorAt("Icons", 0.5), nullptr);
    setLogPath("");
    EXPECT_EQ(folder.get("log"), "Color not found: 'Nowhere'\r\nColor not found: 'Icons'\r\n");
}

TEST_F(DynamicPalette, copiesShareTheNearestParentColoursData) {
    CDynamicPalette& palette = load(
        {color("Panel", {{"tone", "336699"}},
               {color("Text", {{"is-copy-parent-color", "true"}},
                      {color("Deep", {{"is-copy-parent-color", "true"}, {"tone", "ffffff"}})})})});
    EXPECT_EQ(palette.findColor("Deep")->getColor(), palette.findColor("Panel")->getColor());
    EXPECT_EQ(palette.findColor("Text")->getData(), palette.findColor("Panel")->getData());
}

TEST_F(DynamicPalette, coloursThatComeAndGoAreAnnounced) {
    CDynamicPalette& palette = load({color("A", {{"tone", "336699"}}), color("B", {})});
    addProbe(root->findObject("ui"), "probe")
        ->listenObject("ui.palette", "dynamic-palette-updated", "ping");
    CProbe::journal.clear();
    CObject::destroyObject(palette.findColor("A"));
    EXPECT_EQ(takeJournal(), Journal{"probe ping"});
    EXPECT_EQ(palette.findColor("A"), nullptr);
    for (const bool isCopy : {false, true}) { // the first has the values that "A" had before
        CObject* object = nullptr;
        ASSERT_FALSE((isCopy ? palette.findColor("B") : static_cast<CObject*>(&palette))
                         ->createChild(object, "ui:dynamic-color", isCopy ? "C" : "A", false));
        set(object, "tone", "336699");
        set(object, isCopy ? "is-copy-parent-color" : "gradient-size", "1");
        ASSERT_FALSE(object->init());
        ASSERT_FALSE(object->initContent());
        EXPECT_EQ(takeJournal(), Journal{"probe ping"}) << isCopy;
        ASSERT_FALSE(object->initDone());
        EXPECT_NE(palette.findRamp(isCopy ? "C" : "A"), nullptr);
    }
    CObject::destroyObject(&palette);
    EXPECT_TRUE(takeJournal().empty()) << "nobody asks a palette that ends";
}

TEST_F(DynamicPalette, wrongDefinitionsFail) {
    struct {
        CAttrs attributes;
        const char* message;
    } const rows[] = {
        {{{"tone", "0"}}, "Gradient size not defined."},
        {{{"is-copy-parent-color", "true"}}, "Parent dynamic color not found."},
        {{{"gradient-size", "1"}, {"editable-features", "tx"}},
         "Invalid characters in editable-features attribute."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(first(tryLoad({{"ui:dynamic-color", "C", row.attributes, {}, ""}})), row.message);
}

TEST_F(DynamicPalette, aSchemeSetsWhatIsEditable) {
    CDynamicPalette& palette = load({
        color("Full", {{"editable-features", "bcot"}, {"tone", "111111"}}),
        color("Tone", {{"editable-features", "tco-o"}, {"tone", "111111"}, {"opacity", "1"}}),
        color("Fixed", {{"tone", "111111"}}),
        color("Copy", {{"editable-features", "t"}, {"copy-default-from", "Full"}}),
        color("Kept", {{"editable-features", "t"}, {"tone", "222222"}}),
    });
    addProbe(root->findObject("ui"), "probe")
        ->listenObject("ui.palette", "dynamic-palette-updated", "ping");
    ASSERT_FALSE(palette.applyBlob(
        blobOf({{"Full", 0xAABBCC}, {"Tone", 0x00FF00}, {"Fixed", 0xFFFFFF}, {"Unknown", 1}})));
    const auto values = [&](const char* name) { return palette.findColor(name)->getValues(); };
    EXPECT_EQ(values("Full").tone, 0xAABBCCu);
    EXPECT_EQ(values("Full").brightness, 3.0);
    EXPECT_EQ(values("Full").opacity, 0.6);
    EXPECT_EQ(values("Tone").tone, 0x00FF00u);
    EXPECT_EQ(values("Tone").contrast, 0.7);
    EXPECT_EQ(values("Tone").opacity, 1.0);
    EXPECT_EQ(values("Fixed").tone, 0x111111u);
    EXPECT_EQ(values("Copy").tone, 0xAABBCCu);
    EXPECT_EQ(values("Kept").tone, 0x222222u);
    EXPECT_TRUE(palette.findColor("Full")->isLit());
    EXPECT_EQ(takeJournal(), Journal{"probe ping"}); // once for all of it
    ASSERT_FALSE(palette.applyBlob(blobOf({{"Full", 0xAABBCC}})));
    EXPECT_TRUE(takeJournal().empty());
}

// The parent's own change reaches the child by its link, and must not undo the child's record.
TEST_F(DynamicPalette, aChildsRecordWinsOverItsParents) {
    CDynamicPalette& palette = load(
        {color("Parent", {{"editable-features", "t"}, {"tone", "111111"}},
               {color("AChild", {{"editable-features", "t"}, {"tone", "{*/^Parent tone}"}})})});
    ASSERT_FALSE(palette.applyBlob(blobOf({{"AChild", 0x123456}, {"Parent", 0x654321}})));
    EXPECT_EQ(palette.findColor("AChild")->getValues().tone, 0x123456u);
    EXPECT_EQ(palette.findColor("Parent")->getValues().tone, 0x654321u);
}

TEST_F(DynamicPalette, damagedAndForeignSchemesChangeNothing) {
    CDynamicPalette& palette =
        load({color("Full", {{"editable-features", "bcot"}, {"tone", "111111"}})});
    EXPECT_FALSE(palette.applyBlob(blobOf({{"Full", 0xAABBCC}}, 2)));
    const CByteBuffer blob = blobOf({{"Full", 0xAABBCC}});
    for (size_t size = 1; size < blob.size(); size++)
        EXPECT_TRUE(palette.applyBlob(CByteBuffer(blob.data(), size))) << size;
    EXPECT_EQ(palette.findColor("Full")->getValues().tone, 0x111111u);
}

TEST_F(DynamicPalette, editsAreStoredAndAppliedSchemesAreNot) {
    CDynamicPalette& palette = load({
        color("Full", {{"editable-features", "bcot"}, {"tone", "111111"}}),
        color("OnlyContrast", {{"editable-features", "ce"}, {"tone", "111111"}}),
    });
    CTestStore store;
    palette.setStore(&store);
    set(palette.findColor("Full"), "tone", "0000ff");
    EXPECT_EQ(store.writes, 1);
    set(palette.findColor("Full"), "tone", "0000ff");
    EXPECT_EQ(store.writes, 1);
    const CByteBuffer saved = store.blob;
    EXPECT_EQ(saved.size(), 4 + 4 + 4 + 36 + 4u); // one record
    set(palette.findColor("Full"), "tone", "00ff00");
    store.blob = saved;
    ASSERT_FALSE(palette.runEvent("palette-updated-from-param"));
    EXPECT_EQ(store.writes, 2);
    EXPECT_EQ(palette.findColor("Full")->getValues().tone, 0x0000FFu);
    EXPECT_NEAR(static_cast<int>(top(palette.findRamp("Full")) & 255), 255, 1);
}

TEST_F(DynamicPalette, theCacheServesTheNextStart) {
    const std::vector<CNode> colors{
        color("A", {{"tone", "336699"}, {"is-hoverable", "true"}}),
        color("B", {{"tone", "0"}, {"tone2", "ffffff"}, {"gradient-size", "4"}})};
    load(colors);
    CByteBuffer cache;
    records.read("ui-palette-cache", cache, kDataBlock);
    ASSERT_EQ(cache.size(), 8 + (5 + 48 + 2 * 776) + (5 + 48 + 4 * 776u));
    // A mark in the stored ramp shows where a ramp came from.
    const auto reload = [&](size_t size, uint8_t mark) {
        CByteBuffer changed(cache.data(), size);
        if (size > 100) changed.data()[8 + 5 + 48 + 8 + 255] = mark; // red of A's last entry
        records.write("ui-palette-cache", changed, nullptr, kDataBlock);
        CObject::destroyObject(root->findObject("ui"));
        return top(load(colors).findRamp("A")) >> 16;
    };
    EXPECT_EQ(reload(cache.size(), 0x99), 0x99u);
    EXPECT_EQ(reload(2000, 0x98), 0x98u);    // B is computed
    EXPECT_NEAR(reload(700, 0x97), 0x33, 1); // A is cut
    EXPECT_NEAR(reload(0, 0), 0x33, 1);
    cache.data()[0] = 3;
    EXPECT_NEAR(reload(cache.size(), 0x96), 0x33, 1);
}

TEST_F(DynamicPalette, theEditorsListFollowsTheTree) {
    CDynamicPalette& palette =
        load({{"core:object", "group-title", {{"title", "Panels"}}, {}, ""},
              color("A", {{"title", "Panel"}}, {color("B", {{"title", "Text"}})}),
              color("C", {})});
    CVector<CPaletteListLine> lines;
    palette.listColors(lines);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].title, "Panels");
    EXPECT_EQ(lines[0].color, nullptr);
    EXPECT_EQ(lines[2].color, palette.findColor("B"));
    EXPECT_EQ(palette.getModifier("underlay-slider-opacity"), 0.7);
}
