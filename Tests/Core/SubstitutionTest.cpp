#include "TreeFixture.h"

using namespace lum;

namespace {

class SubstitutionTest : public CTreeTest {
protected:
    // outer (title, up, size) > mid > leaf; outer > Panel (tone)
    void SetUp() override {
        CTreeTest::SetUp();
        outer = add(root, "outer");
        mid = add(outer, "mid");
        leaf = add(mid, "leaf");
        panel = add(outer, "Panel");
        set(outer, "title", "T");
        set(outer, "up", "^");
        set(outer, "size", "10");
        set(mid, "empty", "");
        set(outer, "empty", "hidden");
        set(panel, "tone", "dark");
    }
    CObject* outer = nullptr;
    CObject* mid = nullptr;
    CObject* leaf = nullptr;
    CObject* panel = nullptr;
};

TEST_F(SubstitutionTest, referencesResolveAsWritten) {
    const std::pair<const char*, const char*> rows[] = {
        {"plain", "plain"},
        {"{title}", "T"},
        {"<{title}-{size}>", "<T-10>"},
        {"{none}", ""},
        {"{none?D}", "D"},
        {"{?}", ""},
        {"{?false}", "false"},
        {"{?shared::font.base}", "shared::font.base"},
        {"{empty?D}", ""}, // an empty attribute is there, and hides the ancestor's
        {"{@title?D}", "D"},
        {"{@/^^ title?D}", "T"},
        {"{@/^ title?D}", "D"},
        {"{/^ title}", "T"},
        {"{/^^Panel tone}", "dark"},
        {"{/none title?D}", "D"},
        {"{/^?D}", "D"},
        {"{/{up} title}", "T"}, // the inner one first
        {"{full-name}", "outer.mid.leaf"},
        {"a{", "a{"},
        {"{title", "{title"},
        {"}{title}", "}T"},
        {"{title?x}?y", "T?y"},
        {"?{title}", "?T"},
        {"{none?{title}}", "T"},
    };
    for (const auto& [text, result] : rows) {
        set(leaf, "probe", text);
        EXPECT_EQ(attr(leaf, "probe"), result) << text;
        // The attribute's own name must not answer in the next row.
        EXPECT_FALSE(leaf->setAttrValue("probe", CAttrEntry(), true));
        CObject::destroyObject(leaf);
        leaf = add(mid, "leaf");
    }
}

TEST_F(SubstitutionTest, anEmptyNameMeansTheAttributeItself) {
    set(leaf, "title", "<{?D}>");
    EXPECT_EQ(attr(leaf, "title"), "<T>");
    set(leaf, "size", "{/^}");
    EXPECT_EQ(leaf->findAttr("size")->type(), AttrType::Integer); // typed after substitution
    EXPECT_EQ(leaf->getAttrInt("size"), 10);
}

TEST_F(SubstitutionTest, aLiveLinkBringsEachChangeAtOnce) {
    CProbe* probe = addProbe(mid, "p");
    set(probe, "a", "{*/^^ title}");
    set(probe, "b", "{*Panel tone}");
    EXPECT_EQ(takeJournal(), (Journal{"p a=T", "p b=dark"}));
    set(outer, "title", "U");
    set(panel, "tone", "light");
    set(panel, "other", "1");
    EXPECT_EQ(takeJournal(), (Journal{"p a=U", "p b=light"}));
}

TEST_F(SubstitutionTest, linksThatCannotStandGiveNothing) {
    for (const char* text :
         {"{*title}", "{*/none x}", "{*/outer.mid.leaf x}", "{*/^^Panel none}"}) {
        set(leaf, "probe", text);
        EXPECT_EQ(attr(leaf, "probe"), "") << text;
    }
    set(panel, "scheme", "Military");
    set(leaf, "probe", "{*/^^Panel scheme}");
    EXPECT_EQ(attr(leaf, "probe"), ""); // the link stands, the value does not come with it
    set(panel, "scheme", "Ocean");
    EXPECT_EQ(attr(leaf, "probe"), "Ocean");
}

TEST_F(SubstitutionTest, endsOfALinkMayGoInAnyOrder) {
    CObject* other = add(mid, "other");
    set(leaf, "x", "{*/^^Panel tone}");
    set(other, "x", "{*/^^Panel tone}");
    CObject::destroyObject(leaf);
    set(panel, "tone", "1");
    EXPECT_EQ(attr(other, "x"), "1");
    CObject::destroyObject(panel);
    CObject::destroyObject(other);
}

TEST_F(SubstitutionTest, aChainOfLinksReachesItsEnd) {
    set(mid, "x", "{*/^Panel tone}");
    set(leaf, "y", "{*/^ x}");
    set(panel, "tone", "red");
    EXPECT_EQ(attr(leaf, "y"), "red");
}

} // namespace
