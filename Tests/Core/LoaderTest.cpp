#include "TempFolder.h"
#include "TreeFixture.h"

using namespace lum;

namespace {

/// Names, classes and attributes of a subtree, for comparison.
std::string describe(const CObject& object) {
    std::string text = object.getFullName().toUtf8() + " " + object.getTag().toUtf8() + " " +
                       std::to_string(object.getState()) + "\n";
    for (const auto& [name, value] : object.attrs())
        text += "  " + name.toUtf8() + "=" + value.text().toUtf8() + "\n";
    for (const CObject* child : object.getChildren()) text += describe(*child);
    return text;
}

const CNode kNested{
    "template", "inner", {{"a", "{?}"}}, {{"probe", "deep", {{"b", "{title}"}}, {}, {}}}, "probe"};
const CNode kPlugin{"template",
                    "plugin",
                    {{"title", "{/shared::project app-name}"}, {"off", "false"}},
                    {{"probe", "first", {{"a", "1"}, {"b", "2"}}, {}, {}},
                     {"unheard:of", "second", {}, {{"core:object", "below", {}, {}, {}}}, {}},
                     kNested},
                    "core:object"};
const CNode kShared{
    "any",
    "ignored",
    {{"mark", "root"}, {"none", ""}, {"kept", "{?false}"}},
    {{"core:object", "project", {{"app-name", "J\xC3\xBCrgen \xE2\x82\xAC"}}, {}, {}}, kPlugin},
    {}};

class LoaderTest : public testing::Test {
protected:
    void SetUp() override { CProbe::journal.clear(); }
    void TearDown() override {
        CApplication::finish();
        EXPECT_EQ(CApplication::get(), nullptr);
    }
    /// Starts with the tree as an embedded resource.
    void startEmbedded(size_t padding = 0) {
        const std::string bytes = CNode::bytesOf(kShared, padding);
        resource.clear();
        for (int i = 0; i < 4; i++) resource += static_cast<char>(bytes.size() >> (8 * i));
        resource += bytes;
        rows[0] = {reinterpret_cast<const uint8_t*>(resource.data()), "SharedData.xml"};
        ASSERT_FALSE(CApplication::start({kTestCreators, rows, nullptr}));
    }
    static CObject* makeInstance() {
        CObject* root = nullptr;
        CObject* plugin = nullptr;
        EXPECT_FALSE(CApplication::get()->initRootObject(root, ""));
        EXPECT_FALSE(root->createChild<CObject>(plugin, "plugin", "plugin", true));
        return root;
    }

    std::string resource;
    CResourceRow rows[2] = {};
};

TEST_F(LoaderTest, aTreeComesUpFromItsBytes) {
    startEmbedded();
    EXPECT_EQ(describe(*CObject::sharedRoot()), "  4\n  kept=false\n  mark=root\n"
                                                "project core:object 4\n"
                                                "  app-name=J\xC3\xBCrgen \xE2\x82\xAC\n"
                                                "  full-name=project\n"
                                                "plugin template 4\n"
                                                "  full-name=plugin\n");
    EXPECT_TRUE(CProbe::journal.empty()); // a template is not run by loading
    CObject* root = makeInstance();
    EXPECT_EQ(describe(*root->findChild("plugin")), "plugin core:object 3\n"
                                                    "  full-name=plugin\n"
                                                    "  title=J\xC3\xBCrgen \xE2\x82\xAC\n"
                                                    "plugin.first probe 4\n"
                                                    "  a=1\n  b=2\n  full-name=plugin.first\n"
                                                    "plugin.second unheard:of 4\n"
                                                    "  full-name=plugin.second\n"
                                                    "plugin.second.below core:object 4\n"
                                                    "  full-name=plugin.second.below\n"
                                                    "plugin.inner template 4\n"
                                                    "  full-name=plugin.inner\n");
    EXPECT_EQ(CProbe::journal,
              (Journal{"first init", "first b=2", "first a=1", "first content", "first done"}));
    CObject::destroyObject(root);
}

TEST_F(LoaderTest, aNestedTemplateLivesWhereTheOuterOneRan) {
    startEmbedded();
    CObject* root = makeInstance();
    CProbe* inner = nullptr;
    EXPECT_FALSE(
        root->findObject("plugin.second.below")->createChild<CProbe>(inner, "inner", "i", true));
    EXPECT_EQ(inner->findObject(".deep")->getAttrString("b").toUtf8(),
              "J\xC3\xBCrgen \xE2\x82\xAC");
    EXPECT_TRUE(inner->findObject(".deep")->getAttrString("b").isWide());
    EXPECT_EQ(first(root->createChild<CProbe>(inner, "inner", "i", true)),
              "Run-time template 'inner' does not exist."); // not visible from above
    CObject::destroyObject(root->findObject("plugin.inner"));
    EXPECT_TRUE(root->findObject("plugin")->createChild<CProbe>(inner, "inner", "j", true));
    CObject::destroyObject(root);
}

TEST_F(LoaderTest, fileAndResourceAndPaddingGiveTheSameTree) {
    startEmbedded();
    CObject* root = makeInstance();
    const std::string expected = describe(*root) + describe(*CObject::sharedRoot());
    CObject::destroyObject(root);
    CApplication::finish();

    startEmbedded(13);
    root = makeInstance();
    EXPECT_EQ(describe(*root) + describe(*CObject::sharedRoot()), expected);
    CObject::destroyObject(root);
    CApplication::finish();

    const CTempFolder folder;
    folder.put("tree", CNode::bytesOf(kShared, 3));
    ASSERT_FALSE(CApplication::start({kTestCreators, nullptr, nullptr}));
    ASSERT_FALSE(CApplication::get()->initSharedObject(folder / "tree"));
    root = makeInstance(); // from bodies that are copies: the file is gone from memory
    EXPECT_EQ(describe(*root) + describe(*CObject::sharedRoot()), expected);
    CObject::destroyObject(root);
}

TEST_F(LoaderTest, whatFailsLeavesNoRootBehind) {
    const CTempFolder folder;
    CNode broken = kShared;
    broken.children = {{"probe", "p", {{"bad", "1"}}, {}, {}}};
    folder.put("broken", CNode::bytesOf(broken));
    folder.put("short", CNode::bytesOf(broken).substr(0, 6));
    ASSERT_FALSE(CApplication::start({kTestCreators, nullptr, nullptr}));
    EXPECT_EQ(CObject::sharedRoot(), nullptr); // no such resource: only logged

    CErrorResult error = CApplication::get()->initSharedObject(folder / "broken");
    EXPECT_EQ(first(error), "bad attribute");
    EXPECT_TRUE(error.get()->lines.size() >= 4 && error.line(1).endsWith(" ) // p"));
    EXPECT_TRUE(CApplication::get()->initSharedObject(folder / "short"));
    EXPECT_EQ(first(CApplication::get()->initSharedObject(folder / "none")),
              "Unable to open file '" + folder.path("none") + "' for reading (error 2).");
    EXPECT_EQ(CObject::sharedRoot(), nullptr);

    CObject* root = nullptr;
    EXPECT_EQ(first(CApplication::get()->initRootObject(root, "")), "No shared object created.");
    EXPECT_FALSE(CApplication::get()->initSharedObject(""));
    EXPECT_EQ(first(CApplication::get()->initSharedObject("")), "Shared object already exists.");
    EXPECT_EQ(first(CApplication::get()->initRootObject(root, folder / "broken")), "bad attribute");
    EXPECT_EQ(root, nullptr);
}

TEST_F(LoaderTest, onlyTheLastFinishEndsTheApplication) {
    for (int round = 0; round < 50; round++) {
        startEmbedded();
        ASSERT_FALSE(CApplication::start({kTestCreators, rows, nullptr}));
        CObject* root = makeInstance();
        CApplication::finish();
        ASSERT_NE(CApplication::get(), nullptr);
        CObject::destroyObject(root);
        CApplication::finish();
        ASSERT_EQ(CApplication::get(), nullptr);
    }
}

TEST_F(LoaderTest, aFailedStartCanBeRepeated) {
    const auto failing = []() -> CErrorResult { return LUM_FAIL("no transform"); };
    EXPECT_EQ(first(CApplication::start({kTestCreators, nullptr, failing})), "no transform");
    EXPECT_EQ(CApplication::get(), nullptr);
    startEmbedded();
    EXPECT_NE(CObject::sharedRoot(), nullptr);
}

} // namespace
