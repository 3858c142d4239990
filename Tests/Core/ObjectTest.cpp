#include "TreeFixture.h"

using namespace lum;

namespace {

class ObjectTest : public CTreeTest {};

TEST_F(ObjectTest, takenIndicesMoveBehindTheHighest) {
    const std::pair<const char*, const char*> rows[] = {
        {"a#5", "a#5"}, {"a#5", "a#6"},   {"a", "a"},  {"a", "a#7"},
        {"", ""},       {"b#0x2", "b#2"}, {"b#", "b"}, {"b#word", "b#3"},
    };
    for (const auto& [given, full] : rows)
        EXPECT_EQ(attr(add(root, given), "full-name"), full) << given;
    EXPECT_EQ(attr(add(root->findChild("a#6"), "x"), "full-name"), "a#6.x");
    EXPECT_EQ(attr(add(root->findChild("a"), ""), "full-name"), "a.");
}

TEST_F(ObjectTest, pathsLeadWhereTheySay) {
    CObject* a = add(root, "a");
    CObject* b = add(a, "b");
    CObject* c = add(b, "c");
    CObject* last = add(b, "c#2");
    CObject* shared = add(CObject::sharedRoot(), "s");
    const std::tuple<CObject*, const char*, CObject*, const char*> rows[] = {
        {b, "", nullptr, ""},
        {root, "^", nullptr, ""},
        {b, "^", a, "a"},
        {b, ".c", c, "a.b.c"},
        {c, "^c#2", last, "a.b.c#2"},
        {c, "^^b.c", c, "a.b.c"},
        {c, "a.b", b, "a.b"},
        {c, "/a.b", b, "a.b"},
        {c, "a..b.", b, "a.b"},
        {c, "a.word^a.b", b, "a.b"}, // text before "^" has no effect
        {root, "a.b.c#0", c, "a.b.c"},
        {root, "a.b.c#", last, "a.b.c#2"},
        {root, "a.b.c#0x2", last, "a.b.c#2"},
        {root, "a.b.c#y", nullptr, "a.b.c#y"},
        {root, "a.none.x", nullptr, "a.none.x"},
        {c, "none.x", nullptr, ".none.x"},
        {c, ".^^^^b", nullptr, ""},
        {c, "shared::s", shared, "s"},
        {c, "shared::s.t", nullptr, "s.t"},
    };
    for (const auto& [from, path, target, full] : rows) {
        EXPECT_EQ(from->findObject(path), target) << path;
        EXPECT_EQ(from->getFullPath(path).toUtf8(), full) << path;
    }
}

TEST_F(ObjectTest, checkedLookUpsTellWhatIsWrong) {
    CObject* a = add(root, "a");
    CProbe* probe = nullptr;
    CObject* any = nullptr;
    addProbe(root, "p");
    EXPECT_FALSE(a->findObjectChecked(probe, "^p"));
    EXPECT_EQ(first(a->findObjectChecked(any, "^x")), "Unable to find object '^x' ('.x')");
    EXPECT_EQ(first(a->findObjectChecked(probe, "a")), "Incompatible type of object 'a' ('a')");
    EXPECT_EQ(first(a->findObjectByAttr(any, "ref")),
              "Object name attribute 'ref' cannot be empty.");
    set(a, "ref", ".x");
    EXPECT_EQ(first(a->findObjectByAttr(any, "ref")),
              "Name attribute 'ref' refers to a non-existent object '.x' ('a.x')");
    set(a, "ref", "^a");
    EXPECT_EQ(first(a->findObjectByAttr(probe, "ref")),
              "Name attribute 'ref' refers to object '^a' ('a') of incompatible type.");
    EXPECT_EQ(probe, nullptr);
}

TEST_F(ObjectTest, deferredHandlersRunOnceAndLastSetFirst) {
    CProbe* probe = addProbe(root, "p");
    EXPECT_FALSE(probe->setAttr("a", "1", false));
    EXPECT_FALSE(probe->setAttr("b", "2", false));
    EXPECT_FALSE(probe->setAttr("other", "2", false));
    EXPECT_FALSE(probe->setAttr("a", "3", false));
    EXPECT_EQ(takeJournal(), Journal{});
    EXPECT_FALSE(probe->flushAttrs());
    EXPECT_EQ(takeJournal(), (Journal{"p b=2", "p a=3"}));
    EXPECT_FALSE(probe->flushAttrs());
    set(probe, "a", "4");
    EXPECT_EQ(takeJournal(), Journal{"p a=4"});
}

TEST_F(ObjectTest, aFailedHandlerEndsTheFlushWithItsTrace) {
    CProbe* probe = addProbe(root, "p");
    EXPECT_FALSE(probe->setAttr("a", "1", false));
    EXPECT_FALSE(probe->setAttr("bad", "1", false));
    CErrorResult error = probe->flushAttrs();
    EXPECT_EQ(first(error), "bad attribute");
    EXPECT_TRUE(error.line(1).endsWith(" ) // p"));
    EXPECT_EQ(takeJournal(), Journal{});
    EXPECT_FALSE(probe->setAttr("a", "2", false)); // the dropped one can be set again
    EXPECT_FALSE(probe->flushAttrs());
    EXPECT_EQ(takeJournal(), Journal{"p a=2"});
}

TEST_F(ObjectTest, completeCreationRunsThePassesOverGivenAttributes) {
    CProbe* probe = nullptr;
    const CAttrMap given{{"a", CAttrEntry::ofText("1")}, {"b", CAttrEntry::ofText("{c}")}};
    const CAttrMap extra{{"c", CAttrEntry::ofText("x")}};
    EXPECT_FALSE(root->createChild<CProbe>(probe, "probe", "p", false, &given, &extra));
    EXPECT_EQ(takeJournal(), (Journal{"p init", "p b=x", "p a=1", "p content", "p done"}));
    EXPECT_EQ(probe->getState(), 3);

    EXPECT_EQ(first(root->createChild<CProbe>(probe, "none", "q", true)),
              "Run-time template 'none' does not exist.");
    EXPECT_EQ(first(root->createChild<CProbe>(probe, "core:object", "q", false)),
              "Object of invalid class created (child tag 'core:object', child name 'q').");
    EXPECT_EQ(root->findChild("q"), nullptr);
    EXPECT_EQ(first(registerCreator(kProbeCreators)),
              "Creator for 'probe' has already been registered.");
}

TEST_F(ObjectTest, destructionLeavesTheOthersInOrder) {
    CObject* parent = add(root, "p");
    for (const char* name : {"x", "y", "x", "z"}) add(add(parent, name), "inner");
    CObject::destroyObject(parent->findChild("y"));
    CObject::destroyObject(parent->findChild("x"));
    EXPECT_EQ(parent->findChild("y"), nullptr);
    EXPECT_EQ(attr(parent->findChild("x"), "full-name"), "p.x#1"); // the lowest that is left
    ASSERT_EQ(parent->getChildren().size(), 2u);
    EXPECT_EQ(parent->getChildren()[1]->getName(), "z");
    const int32_t lastId = parent->getChildren()[1]->getObjectId();
    CObject::destroyObject(parent->findChild("z"));
    EXPECT_EQ(attr(add(parent, "x"), "full-name"), "p.x");
    EXPECT_GT(parent->findChild("x")->getObjectId(), lastId); // ids are never used again
    EXPECT_EQ(add(CObject::sharedRoot(), "s")->getObjectId(), -1);
}

TEST_F(ObjectTest, doublerFansAValueOut) {
    addProbe(root, "p");
    CObject* plain = add(root, "q");
    const CAttrMap given{{"target", CAttrEntry::ofText("p  q")},
                         {"attr", CAttrEntry::ofText("a")},
                         {"value", CAttrEntry::ofText("1")}};
    CObject* doubler = nullptr;
    EXPECT_FALSE(root->createChild<CObject>(doubler, "core:attr-doubler", "d", false, &given));
    EXPECT_EQ(takeJournal(), Journal{"p a=1"});
    set(doubler, "value", "2");
    EXPECT_EQ(attr(plain, "a"), "2");

    const CAttrMap missing{{"target", CAttrEntry::ofText("p none")}};
    EXPECT_EQ(first(root->createChild<CObject>(doubler, "core:attr-doubler", "e", false)),
              "No target objects specified.");
    EXPECT_EQ(first(root->createChild<CObject>(doubler, "core:attr-doubler", "f", false, &missing)),
              "Target object 'none' not found.");
}

TEST_F(ObjectTest, withoutASharedRootObjectsEndUpReadOnly) {
    CObject* a = add(root, "a");
    CApplication::get()->finalize();
    EXPECT_FALSE(a->initDone());
    set(a, "x", "1");
    EXPECT_EQ(attr(a, "x"), "(absent)");
    CObject* child = nullptr;
    EXPECT_EQ(first(a->createChild(child, "core:object", "c", false)),
              "Error adding child to read-only object.");
    CObject* other = nullptr;
    EXPECT_EQ(first(CApplication::get()->initRootObject(other, "")), "No shared object created.");
}

} // namespace
