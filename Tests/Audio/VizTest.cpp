#include "Audio/CAudioVizCollector.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CControlWriteQueue.h"
#include "Audio/StateFixture.h"

#include <map>

namespace lum::test {
namespace {

CVizDataRef meter(double time, double level) {
    auto* record = new CAudioVizDataMeter;
    record->time = time;
    record->values[0] = level;
    return CVizDataRef(record);
}

/// The body of a `viz-data` message, read.
struct VizReader : CAudioInterfaceVizProcessor {
    void startViz() override { starts++; }
    void stopViz() override {}
    void clearViz() override {}
    CErrorResult onVizData(CInputStream& stream) override {
        answers++;
        LUM_TRY(stream.readValue(time));
        for (;;) {
            uint32_t count = 0;
            LUM_TRY(stream.readValue(count));
            if (count == 0) break;
            CString source;
            LUM_TRY(stream.readString(source));
            for (uint32_t i = 0; i < count; i++) {
                CVizDataRef record;
                LUM_TRY(loadVizRecord(stream, record));
                records[source.toUtf8()].push_back(record);
            }
        }
        rest = static_cast<int>(stream.bytesLeft());
        return nullptr;
    }
    CErrorResult onExportSlotNames(CInputStream& stream) override {
        uint32_t count = 0;
        LUM_TRY(stream.readValue(count));
        names.clear();
        for (uint32_t i = 0; i < count; i++) {
            uint32_t slot = 0;
            CString name;
            LUM_TRY(stream.readValue(slot));
            LUM_TRY(stream.readString(name));
            names[slot] = name.toUtf8();
        }
        return nullptr;
    }

    int starts = 0;
    int answers = 0;
    int rest = -1;
    double time = -1.0;
    std::map<std::string, std::vector<CVizDataRef>> records;
    std::map<uint32_t, std::string> names;
};

class Viz : public StateFixture {
protected:
    CVizDataRef copyOf(const CAudioVizData& record) {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(saveVizRecord(stream, record));
        const CByteBuffer bytes = bytesOf(stream);
        CMemoryReader reader(bytes);
        CVizDataRef copy;
        EXPECT_FALSE(loadVizRecord(reader, copy));
        EXPECT_EQ(reader.bytesLeft(), 0);
        CWriteSeqBuffer again;
        EXPECT_FALSE(saveVizRecord(again, *copy.get()));
        EXPECT_EQ(bytesOf(again), bytes);
        return copy;
    }
};

TEST_F(Viz, everyRecordComesBackFromItsBytes) {
    CAudioVizDataSpectrum spectrum;
    spectrum.values = {1.0, 2.0, 3.0};
    spectrum.fourth = 4.0;
    spectrum.time = 1.25;
    copyOf(spectrum);
    CAudioVizDataInfo info;
    info.text = "Text";
    info.flags = 7;
    EXPECT_EQ(copyOf(info)->selector2, kAnyVizSelector);
    CAudioVizDataVScope scope;
    for (uint32_t i = 0; i < 14; i++) scope.words.push_back(i);
    scope.lineLengths = {3, 1, 2};
    const CVizDataRef copy = copyOf(scope);
    const auto& starts = static_cast<const CAudioVizDataVScope&>(*copy.get()).lineStarts;
    ASSERT_EQ(starts.ssize(), 3);
    EXPECT_EQ(starts[1], 9u);
    EXPECT_EQ(starts[2], 10u);
    constexpr uint32_t kUnknown[] = {2, 8, 0, 0};
    CMemoryReader reader(kUnknown, sizeof kUnknown);
    CVizDataRef none;
    ASSERT_FALSE(loadVizRecord(reader, none));
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_EQ(reader.bytesLeft(), 0) << "its bytes are skipped";
}

TEST_F(Viz, thisProductAnswersWithTheTimeAlone) {
    TestClient client(*wrapper);
    VizReader reader;
    client->setVizProcessor(&reader);
    wrapper->setInputFormat({2, true, false}, {});
    wrapper->setOutputFormat({2, true, false});
    wrapper->start();
    wrapper->process(nullptr, nullptr, 4410);
    ASSERT_FALSE(client->requestVizData(40.0));
    ASSERT_FALSE(client->requestExportSlotNames());
    client.drain();
    EXPECT_EQ(reader.starts, 1);
    EXPECT_EQ(reader.answers, 1);
    EXPECT_NEAR(reader.time, 0.1, 1e-9);
    EXPECT_EQ(reader.rest, 0);
    EXPECT_TRUE(reader.records.empty());
    EXPECT_TRUE(reader.names.empty());
}

TEST_F(Viz, ownRecordsReachTheClientThatListens) {
    TestClient client(*wrapper);
    VizReader reader;
    client->setVizProcessor(&reader);
    wrapper->setInputFormat({2, true, false}, {});
    wrapper->setOutputFormat({2, true, false});
    wrapper->start();
    const auto runBlock = [&] {
        wrapper->process(nullptr, nullptr, 64);
        wrapper->drainControlWrites();
    };
    CAudioVizCollector& viz = wrapper->getVizCollector();
    CAudioParam& enable = wrapper->getCollector().getParam("source-enable");
    int32_t first = 0, second = 0;
    ASSERT_FALSE(client->listenViz(first, -1, "source"));
    ASSERT_FALSE(client->listenViz(second, -1, "source"));
    EXPECT_FALSE(viz.isWanted("source", 0));
    runBlock();
    EXPECT_TRUE(viz.isWanted("source", 0));
    EXPECT_EQ(enable.readValue(0, 0), 1.0);
    for (const double level : {1.0, 2.0}) viz.post("source", 0, meter(0.0, level));
    viz.post("unheard", 0, meter(0.0, 1.0));
    ASSERT_FALSE(client->requestVizData(40.0));
    client.drain();
    ASSERT_EQ(reader.records.size(), 1u);
    EXPECT_EQ(reader.records["source"].size(), 2u);
    ASSERT_FALSE(client->requestVizData(40.0));
    client.drain();
    EXPECT_EQ(reader.records["source"].size(), 2u) << "each once";
    ASSERT_FALSE(client->unlistenViz(first));
    runBlock();
    EXPECT_EQ(enable.readValue(0, 0), 1.0);
    ASSERT_FALSE(client->unlistenViz(second));
    ASSERT_FALSE(client->unlistenViz(second)); // known no more
    runBlock();
    EXPECT_EQ(enable.readValue(0, 0), 0.0);
    viz.post("source", 0, meter(0.0, 1.0));
    wrapper->stop();
    ASSERT_FALSE(client->requestVizData(40.0));
    client.drain();
    EXPECT_EQ(reader.records["source"].size(), 2u);
}

/// An instance that exports: a collector of its own beside the product's, on the same parameters.
class Exporter {
public:
    explicit Exporter(TestWrapper& owner) : wrapper(owner) {
        CAudioParam& slots = wrapper.param("export-slot");
        slots.bind(*wrapper.param("io-params.channel-group-solo").getInfo(), {}); // 0, by group
        CAttrMap given;
        given["env"] = CAttrEntry::ofText("plugin.audio-env");
        given["param-collector"] = CAttrEntry::ofText("plugin.param-collector");
        given["export-slot-param"] = CAttrEntry::ofText("plugin.modMain.export-slot");
        EXPECT_FALSE(wrapper.getInstanceRoot()->createChild(viz, "audio:viz-collector", "exporter",
                                                            false, &given));
        viz->setControlWrites(&writes);
        EXPECT_FALSE(wrapper.getInstanceRoot()->findObjectChecked(env, "plugin.audio-env"));
    }
    void chooseSlots(std::initializer_list<std::pair<int, double>> slots) {
        CAudioParam& param = wrapper.param("export-slot");
        for (const auto& [group, slot] : slots) param.setValue(slot, group, nullptr);
        wrapper.getCollector().takePendingChanges();
    }
    /// One turn of the audio thread at a time, then of the control thread.
    void runBlock(double time) {
        env->time = time;
        viz->updateBlock();
        writes.drain();
    }
    VizReader fetch() {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(viz->saveVizData(stream, 40.0));
        const CByteBuffer bytes = bytesOf(stream);
        CMemoryReader body(bytes);
        VizReader reader;
        EXPECT_FALSE(reader.onVizData(body));
        EXPECT_EQ(reader.rest, 0);
        return reader;
    }
    std::map<uint32_t, std::string> names() {
        CWriteSeqBuffer stream;
        EXPECT_FALSE(viz->saveExportNames(stream));
        const CByteBuffer bytes = bytesOf(stream);
        CMemoryReader body(bytes);
        VizReader reader;
        EXPECT_FALSE(reader.onExportSlotNames(body));
        return reader.names;
    }

    TestWrapper& wrapper;
    CAudioVizCollector* viz = nullptr;
    CAudioEnv* env = nullptr;
    CControlWriteQueue writes;
};

TEST_F(Viz, slotsCarryRecordsBetweenInstances) {
    TestWrapper other;
    ASSERT_FALSE(other.init());
    ASSERT_FALSE(other.finishInit());
    wrapper->param("instance-name").setString(0, 0, "", nullptr);
    wrapper->param("host-track-name").setString(0, 0, "It`s", nullptr);
    other.param("instance-name").setString(0, 0, "Bass", nullptr);
    Exporter one(*wrapper);
    Exporter two(other);
    one.chooseSlots({{0, 3.0}}); // slot 2, as users count
    two.chooseSlots({{1, 3.0}});
    one.runBlock(1.0);
    two.runBlock(1.0);
    const std::string head = "3: It's (STEREO)`opt1=0`opt2=0";
    EXPECT_EQ(one.names(), (std::map<uint32_t, std::string>{{2, head}}));
    EXPECT_EQ(two.names(), one.names()) << "the first exporter's name stands";

    two.viz->addListener(2, "level");
    one.runBlock(1.0);
    two.runBlock(1.0);
    EXPECT_TRUE(one.viz->isWanted("level", 0));
    EXPECT_FALSE(two.viz->isWanted("level", 1)) << "the slot is another instance's";
    CAudioParam& enable = wrapper->getCollector().getParam("level-enable");
    EXPECT_EQ(enable.readValue(0, 0), 1.0);

    for (const double time : {1.2, 1.0, 1.1}) one.viz->post("level", 0, meter(time, time));
    two.viz->post("level", 1, meter(1.0, 9.0));
    const VizReader taken = two.fetch();
    ASSERT_EQ(taken.records.at("level").size(), 3u);
    for (size_t i = 0; i < 3; i++)
        EXPECT_NEAR(taken.records.at("level")[i]->time, 1.0 + 0.1 * static_cast<double>(i), 1e-9);
    EXPECT_TRUE(two.fetch().records.empty());

    one.viz->post("level", 0, meter(1.3, 1.3)); // waits too long
    one.viz->post("level", 0, meter(1.4, 1.4));
    one.runBlock(2.1);
    ASSERT_EQ(two.fetch().records.at("level").size(), 1u);

    one.chooseSlots({{0, 0.0}}); // gives the slot up; the other one takes it
    one.runBlock(2.2);
    EXPECT_EQ(enable.readValue(0, 0), 0.0);
    two.runBlock(2.2);
    EXPECT_TRUE(two.viz->isWanted("level", 1));
    EXPECT_EQ(one.names().at(2), "3: Bass (G-2)`opt1=0`opt2=0");
    two.viz->removeListener(2, "level");
    two.runBlock(2.2);
    EXPECT_FALSE(two.viz->isWanted("level", 1));
}

/// Blocks go on between the change of a slot and the moment when they can read it.
TEST_F(Viz, aSlotIsBoundWhenItsChangeArrives) {
    Exporter one(*wrapper);
    one.runBlock(1.0);
    one.viz->addListener(0, "level");
    wrapper->param("export-slot").setValue(1.0, 0, nullptr);
    one.runBlock(1.1);
    EXPECT_FALSE(one.viz->isWanted("level", 0));
    wrapper->getCollector().takePendingChanges();
    one.runBlock(1.2);
    EXPECT_TRUE(one.viz->isWanted("level", 0));
}

/// Who hears of new names may ask for them while the message with the data is already whole.
TEST_F(Viz, newNamesAreToldOfBehindTheMessage) {
    struct Ear : CUpdateListener {
        explicit Ear(CWriteSeqBuffer& watched) : stream(watched) {}
        ~Ear() override { attach(nullptr, nullptr); }
        void onUpdate(const CUpdateRecord*) override { sizes.push_back(bytesOf(stream).size()); }
        CWriteSeqBuffer& stream;
        std::vector<size_t> sizes;
    };
    Exporter one(*wrapper);
    one.chooseSlots({{0, 1.0}});
    CWriteSeqBuffer stream;
    Ear ear(stream);
    ear.attach(one.viz, nullptr);
    ASSERT_FALSE(one.viz->saveVizData(stream, 40.0));
    EXPECT_EQ(ear.sizes, std::vector<size_t>{bytesOf(stream).size()});
    ASSERT_FALSE(one.viz->saveVizData(stream, 40.0));
    EXPECT_EQ(ear.sizes.size(), 1u) << "nothing new";
}

/// Each instance that listens on a slot gets each record once, whichever asks first and how often.
TEST_F(Viz, everyReaderOfASlotGetsEveryRecord) {
    TestWrapper others[2];
    Exporter one(*wrapper);
    one.chooseSlots({{0, 1.0}});
    std::vector<std::unique_ptr<Exporter>> readers;
    for (TestWrapper& other : others) {
        ASSERT_FALSE(other.init());
        ASSERT_FALSE(other.finishInit());
        readers.push_back(std::make_unique<Exporter>(other));
        readers.back()->viz->addListener(0, "level");
        readers.back()->fetch(); // takes note of what it listens to
    }
    one.runBlock(1.0);
    const auto taken = [&](size_t reader) {
        VizReader answer = readers[reader]->fetch();
        return answer.records["level"].size();
    };
    one.viz->post("level", 0, meter(1.0, 1.0));
    EXPECT_EQ(taken(0), 1u);
    EXPECT_EQ(taken(0), 0u);
    one.viz->post("level", 0, meter(1.1, 2.0));
    EXPECT_EQ(taken(1), 2u);
    EXPECT_EQ(taken(0), 1u);
    EXPECT_EQ(taken(1), 0u);
    readers[1]->viz->removeListener(0, "level");
    readers[1]->fetch();
    one.runBlock(1.2);
    one.viz->post("level", 0, meter(1.2, 3.0));
    EXPECT_EQ(taken(0), 1u);
    EXPECT_EQ(taken(1), 0u) << "listens no more";
}

/// Groups that change places in one block keep their slots, and the slots their names.
TEST_F(Viz, twoGroupsMayExchangeTheirSlots) {
    Exporter one(*wrapper);
    wrapper->param("instance-name").setString(0, 0, "Bass", nullptr);
    one.chooseSlots({{0, 1.0}, {1, 2.0}});
    for (const char* source : {"first", "second"}) one.viz->addListener(source[0] == 's', source);
    one.runBlock(1.0);
    const std::map<uint32_t, std::string> before = one.names();
    ASSERT_EQ(before.size(), 2u);
    for (const bool isSwapped : {false, true}) {
        if (isSwapped) one.chooseSlots({{0, 2.0}, {1, 1.0}});
        one.runBlock(1.0);
        EXPECT_EQ(one.viz->isWanted("first", 0), !isSwapped);
        EXPECT_EQ(one.viz->isWanted("first", 1), isSwapped);
        EXPECT_EQ(one.viz->isWanted("second", 0), isSwapped);
        one.viz->post("first", isSwapped ? 1 : 0, meter(1.0, 1.0));
        EXPECT_EQ(one.fetch().records.count("first"), 1u);
    }
    std::map<uint32_t, std::string> after = one.names();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[0], "1: Bass (G-2)`opt1=0`opt2=0");
    EXPECT_EQ(after[1], "2: Bass (STEREO)`opt1=0`opt2=0");
    EXPECT_EQ(wrapper->getCollector().getParam("first-enable").readValue(0, 0), 1.0);
}

} // namespace
} // namespace lum::test
