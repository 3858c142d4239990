#include "Core/CEventBridge.h"
#include "Core/CSharedAttribute.h"
#include "TempFolder.h"
#include "TreeFixture.h"

#include <cstdlib>
#include <thread>

using namespace lum;

namespace {

class SharedAttributeTest : public CTreeTest {
protected:
    void SetUp() override {
        CTreeTest::SetUp();
        queue = platform::CMessageQueue::current();
        bridge = add(root, "bridge", "ui:ui-event-bridge");
    }
    // The stores resolve their folder once per process, so all tests here share one.
    static void SetUpTestSuite() {
        folder = new CTempFolder;
        setenv("XDG_CONFIG_HOME", folder->path().c_str(), 1);
    }
    static void TearDownTestSuite() { delete folder; }

    CSharedAttribute* make(CObject* parent, const char* name, CAttrMap attributes) {
        CSharedAttribute* made = nullptr;
        EXPECT_FALSE(parent->createChild<CSharedAttribute>(made, "core:shared-attribute", name,
                                                           false, &attributes));
        return made;
    }
    CSharedAttribute* makeScale(CObject* parent, const char* dataName) {
        return make(parent, "scale",
                    {{"attribute", CAttrEntry::ofText("value")},
                     {"storage-type", CAttrEntry::ofText("local")},
                     {"data-name", CAttrEntry::ofText(dataName)},
                     {"def-value", CAttrEntry::ofText("1.0")}});
    }

    static inline CTempFolder* folder = nullptr;
    std::shared_ptr<platform::CMessageQueue> queue;
    CObject* bridge = nullptr;
};

TEST_F(SharedAttributeTest, aStoredValueReachesAllThatShareIt) {
    CSharedAttribute* one = makeScale(bridge, "record-a");
    CSharedAttribute* two = makeScale(bridge, "record-a");
    CSharedAttribute* other = makeScale(bridge, "record-b");
    CSharedAttribute* far = makeScale(root, "record-a"); // no bridge above it
    CObject* follower = add(bridge, "follower");
    set(follower, "x", "{*/bridge.scale#1 value}");
    EXPECT_EQ(attr(follower, "x"), "1.0");

    one->storeValue("2.0");
    EXPECT_EQ(attr(one, "value"), "1.0"); // it comes by the queue
    queue->pump();
    EXPECT_EQ(attr(one, "value"), "2.0");
    EXPECT_EQ(attr(two, "value"), "2.0");
    EXPECT_EQ(attr(follower, "x"), "2.0");
    EXPECT_EQ(attr(other, "value"), "1.0");
    EXPECT_EQ(attr(far, "value"), "1.0");
    EXPECT_EQ(attr(makeScale(root, "record-a"), "value"), "2.0"); // reads the record at its start
}

TEST_F(SharedAttributeTest, theObjectsNameIsItsRecordInTheStoreOfItsType) {
    const std::pair<const char*, const char*> rows[] = {
        {"global", "Lumeron/own-name"},
        {"group", "Lumeron/Audio Plug-Ins/own-name"},
        {"local", "Lumeron/Audio Plug-Ins/Sorrel GEQ/own-name"}};
    for (const auto& [type, file] : rows) {
        CSharedAttribute* made = make(
            add(bridge, type), "own-name",
            {{"attribute", CAttrEntry::ofText("v")}, {"storage-type", CAttrEntry::ofText(type)}});
        EXPECT_EQ(attr(made, "v"), "");
        made->storeValue("7");
        queue->pump();
        EXPECT_EQ(made->getAttrInt("v"), 7);
        EXPECT_NE(folder->get(file), "");
    }
}

TEST_F(SharedAttributeTest, itsDeclarationIsChecked) {
    for (const auto& [type, message] :
         {std::pair("moon", "Invalid storage type \"moon\" specified."),
          std::pair("local", "No attached attribute name specified.")}) {
        const CAttrMap attributes{{"storage-type", CAttrEntry::ofText(type)}};
        CSharedAttribute* made = nullptr;
        EXPECT_EQ(first(bridge->createChild<CSharedAttribute>(made, "core:shared-attribute", "s",
                                                              false, &attributes)),
                  message);
    }
}

TEST_F(SharedAttributeTest, aWriterOnAnotherThreadMeetsNoEndedListener) {
    CSharedAttribute* writer = makeScale(bridge, "record-c");
    std::thread writing([&] {
        for (int i = 0; i < 40; i++) writer->storeValue(CString::fromInt(i));
    });
    for (int i = 0; i < 200; i++) {
        CObject::destroyObject(makeScale(bridge, "record-c"));
        queue->pump();
    }
    writing.join();
    queue->pump();
    EXPECT_EQ(attr(writer, "value"), "39");
}

} // namespace
