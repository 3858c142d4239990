#include "Audio/StateFixture.h"

namespace lum::test {
namespace {

constexpr const char* kGains = "modSorrelGEQ.gains";

class ParamInterface : public StateFixture {
protected:
    static CAudioParamChange change(const CAudioParamFormat& format, double value, int group = 0,
                                    int element = 0) {
        return CAudioParamChange::ofValues(format, group, element, &value, 1, false, nullptr);
    }
};

TEST_F(ParamInterface, aListenerHearsDefinitionValuesAndChanges) {
    registry().activateFactoryPreset(3);
    TestClient client(*wrapper);
    ParamEar ear;
    const int32_t id = client.listen(kGains, ear);
    EXPECT_EQ(ear.infos, 1);
    EXPECT_EQ(ear.definitions, 1);
    EXPECT_EQ(ear.changes, wrapper->param(kGains).getValues().getGroupCount());
    EXPECT_NEAR(ear.value(1, 0), 0.3158639048, 1e-6);
    set(kGains, 2.0, 7, 4);
    client.drain();
    EXPECT_EQ(ear.value(4, 7), 2.0);
    EXPECT_FALSE(client->unlistenParam(id));
    set(kGains, 3.0, 7, 4);
    client.drain();
    EXPECT_EQ(ear.value(4, 7), 2.0);
}

TEST_F(ParamInterface, aParameterMayBeListenedToBeforeItIsBound) {
    TestClient client(*wrapper);
    ParamEar ear;
    client.listen("later", ear);
    EXPECT_EQ(ear.infos, 1);
    EXPECT_FALSE(ear.isBound);
    EXPECT_EQ(ear.definitions, 0);
    wrapper->param("later").bind(*wrapper->param(kGains).getInfo(), {});
    client.drain();
    EXPECT_TRUE(ear.isBound);
    EXPECT_EQ(ear.definitions, 1);
}

TEST_F(ParamInterface, twoClientsSeeWhatOneDoes) {
    TestClient one(*wrapper);
    TestClient two(*wrapper);
    ParamEar first, second;
    const int32_t id = one.listen(kGains, first);
    two.listen(kGains, second);
    one.edit(id, formatOf(kGains), 1, 15, 2.0);
    EXPECT_EQ(first.value(1, 15), 2.0) << "the echo";
    EXPECT_NE(second.value(1, 15), 2.0) << "not before it looks";
    two.drain();
    EXPECT_EQ(second.value(1, 15), 2.0);
    ASSERT_EQ(wrapper->changes.size(), 1u);
    EXPECT_EQ(wrapper->changes[0].first, 1 + 17 + 15);
}

/// What a client may send by mistake changes nothing and begins no edit.
TEST_F(ParamInterface, changesThatDoNotFitAreDropped) {
    TestClient client(*wrapper);
    ParamEar gains, name;
    const int32_t id = client.listen(kGains, gains);
    const int32_t nameId = client.listen("preset-name", name);
    const CByteBuffer before = chunk(false);
    CAudioParamFormat wide = formatOf(kGains);
    wide.elementSize = 2;
    const double two[] = {1.5, 1.5};
    int32_t undo = 0;
    ASSERT_FALSE(client->createUndoData(undo, "Wrong", false, -1));
    const CAudioParamChange rows[] = {
        CAudioParamChange::ofValues(wide, 0, 0, two, 1, false, nullptr),
        change(formatOf(kGains), 2.0, -1),
        change(formatOf(kGains), 2.0, 32),
        change(formatOf(kGains), 2.0, kDefinitionGroup),
        change(formatOf(kGains), 2.0, 0, -5),
        change(formatOf(kGains), 2.0, 0, 510),
        change(formatOf(kGains), 2.0, 0, 0x7fffffff),
    };
    for (const CAudioParamChange& row : rows)
        EXPECT_FALSE(client->changeParam(id, undo, row)) << &row - rows;
    EXPECT_FALSE(client->changeParam(nameId, undo, change(formatOf(kGains), 1.0)));
    EXPECT_FALSE(client->changeParam(id + 100, undo, change(formatOf(kGains), 2.0)));
    EXPECT_FALSE(client->resetParam(id + 100, 0, 0, undo, false));
    EXPECT_FALSE(client->submitUndoData(undo, ""));
    EXPECT_FALSE(client->submitUndoData(4711, ""));
    EXPECT_EQ(wrapper->edits, std::vector<int32_t>());
    EXPECT_EQ(client.history().size(), 0u) << "never told of a history";
    EXPECT_EQ(chunk(false), before);
    EXPECT_EQ(messageOf(client.sendRaw(CParamMessage("no-such-thing"))),
              "Unknown event 'no-such-thing'.");
    EXPECT_TRUE(client.sendRaw(CParamMessage("change-param").add(id)));
}

TEST_F(ParamInterface, registriesAreFoundByNameAndTellTheirPrograms) {
    TestClient one(*wrapper);
    TestClient two(*wrapper);
    RegistryEar ear, other, routing;
    const int32_t id = one.listen("plugin.param-registry", ear);
    two.listen("plugin.param-registry", other);
    const int32_t routingId = two.listen("plugin.param-registry-io", routing);
    EXPECT_EQ(ear.id, "168a");
    EXPECT_EQ(ear.updates, 2);
    ASSERT_EQ(ear.names.size(), 7u);
    EXPECT_EQ(ear.names[3], "168a:Side Bass Removal");
    EXPECT_EQ(ear.romNames, ear.names);
    EXPECT_EQ(ear.currentProgram, 0);
    EXPECT_EQ(routing.updates, 1);
    EXPECT_EQ(routing.currentProgram, -1);
    ASSERT_FALSE(one->setCurrentProgram(id, 4));
    ASSERT_FALSE(one->renamePreset(id, 4, "Mine"));
    two.drain();
    EXPECT_EQ(other.currentProgram, 4);
    EXPECT_EQ(other.names[4], "168a:Mine");
    EXPECT_EQ(programName(4), "Mine");
    int32_t unused = 0;
    EXPECT_EQ(messageOf(one->listenRegistry(unused, "plugin.nobody", ear)),
              "No param registry object 'plugin.nobody' found.");
    EXPECT_EQ(messageOf(one->listenRegistry(unused, "plugin.audio-env", ear)),
              "Param registry object 'plugin.audio-env' is NULL.");

    ASSERT_FALSE(one->requestPreset(id, 11, false, -1, -1));
    ASSERT_FALSE(one->requestBank(id, 12, true));
    ASSERT_FALSE(two->requestPreset(routingId, 13, false, 99, -1)); // the index means nothing here
    one.drain();
    two.drain();
    EXPECT_EQ(ear.preset.name, "168a:Mine");
    EXPECT_EQ(ear.bank.presets.ssize(), 7);
    EXPECT_EQ(ear.lastRequest, 12);
    EXPECT_EQ(routing.lastRequest, 13);
    EXPECT_EQ(routing.preset.name, "LMIO:");
    EXPECT_EQ(messageOf(one->requestPreset(id, 1, false, 7, -1)),
              "Invalid preset index 7 specified.");
    EXPECT_EQ(messageOf(one->activatePreset(id, -1, routing.preset)), "Incompatible preset.");
}

TEST_F(ParamInterface, aColourEditTurnsItsPresetsNameToUser) {
    TestClient client(*wrapper);
    ParamEar ear;
    const int32_t id = client.listen("uicolor-params.palette", ear);
    wrapper->param("uicolor-params.mode-name").setString(0, 0, "Dark", nullptr);
    CAudioParamChange change;
    change.format = formatOf("uicolor-params.palette");
    change.elementCount = 1;
    change.data = std::make_unique<CAudioParamData>();
    change.values.push_back(change.data->addRaw("colours", 7));
    ASSERT_FALSE(client->changeParam(id, -1, change));
    client.drain();
    EXPECT_EQ(ear.storage.readRaw(0, 0), CByteBuffer("colours", 7));
    EXPECT_EQ(wrapper->text("uicolor-params.mode-name", 0), "User");
}

TEST_F(ParamInterface, factsReachTheClientsInTheirOrder) {
    TestClient client(*wrapper);
    EXPECT_EQ(client->getInternalChannelCount(), 8);
    EXPECT_EQ(client->getGroupCount(), 8);
    EXPECT_EQ(client->getSampleRate(), 44100.0);
    EXPECT_EQ(client->getGroupName(0), "STEREO");
    wrapper->param("io-params.group-names").setString(0, 1, "Drums", nullptr);
    wrapper->setSampleRate(96000.0);
    wrapper->setInputFormat({6, false, false}, {});
    wrapper->setOutputFormat({6, false, false});
    wrapper->start();
    client.drain();
    EXPECT_EQ(client->getGroupName(1), "Drums");
    EXPECT_EQ(client->getSampleRate(), 96000.0);
    EXPECT_EQ(client->getInChannelCount(), 6);
    EXPECT_EQ(client->getOutChannelCount(), 6);
    wrapper->setInputFormat({2, false, false}, {});
    wrapper->stop(); // applies a new layout as well
    client.drain();
    EXPECT_EQ(client->getInChannelCount(), 2);
    const CByteBuffer late = CParamMessage("update-sample-rate").add(0).add(1000.0).bytes();
    EXPECT_FALSE(client->receiveMessage(late));
    EXPECT_EQ(client->getSampleRate(), 96000.0) << "an older number";
}

TEST_F(ParamInterface, aClientThatGoesLeavesNothing) {
    ParamEar ear;
    {
        TestClient client(*wrapper);
        client.listen(kGains, ear);
    }
    const int heard = ear.changes;
    set(kGains, 2.0);
    EXPECT_EQ(ear.changes, heard);
    TestClient next(*wrapper);
    ParamEar fresh;
    next.listen(kGains, fresh);
    EXPECT_EQ(fresh.value(0, 0), 2.0);
}

} // namespace
} // namespace lum::test
