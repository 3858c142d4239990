#include "Audio/CAudioParamUndo.h"

#include "Audio/StateFixture.h"

namespace lum::test {
namespace {

constexpr const char* kGains = "modSorrelGEQ.gains";

/// The history of the instance, as two clients drive and see it.
class Undo : public StateFixture {
protected:
    void SetUp() override {
        StateFixture::SetUp();
        one = std::make_unique<TestClient>(*wrapper);
        two = std::make_unique<TestClient>(*wrapper);
        gainsId = one->listen(kGains, ear);
        two->listen(kGains, otherEar);
        registryId = one->listen("plugin.param-registry", registryEar);
    }
    void TearDown() override {
        one.reset();
        two.reset();
    }
    void edit(double value, int element = 0, int group = 0, bool isMergeable = false,
              int32_t key = -1) {
        one->edit(gainsId, formatOf(kGains), group, element, value, "Gain", isMergeable, key);
    }
    void go(int position) {
        EXPECT_FALSE((*one)->setUndoHistoryPos(position));
        one->drain();
        two->drain();
    }
    double gain(int element = 0, int group = 0) { return wrapper->value(kGains, element, group); }
    int steps() { return static_cast<int>(two->history().size()) - 1; }
    int position() {
        two->drain();
        return (*two)->getHistoryPosition();
    }

    std::unique_ptr<TestClient> one, two;
    ParamEar ear, otherEar;
    RegistryEar registryEar;
    int32_t gainsId = 0;
    int32_t registryId = 0;
};

TEST_F(Undo, everyStepGoesBackAndForth) {
    for (int i = 0; i < 5; i++) edit(1.5 + 0.1 * i, i % 2);
    EXPECT_EQ(two->history(), (std::vector<std::string>{"Undo history start", "Gain", "Gain",
                                                        "Gain", "Gain", "Gain"}));
    const double before[] = {1.0, 1.5, 1.5, 1.7, 1.7, 1.9}; // of element 0, after so many steps
    for (const int to : {3, 0, 5, 2, 4, 1}) {
        go(to);
        EXPECT_DOUBLE_EQ(gain(), before[to]) << to;
        EXPECT_DOUBLE_EQ(otherEar.value(0, 0), before[to]);
        EXPECT_EQ(position(), to);
    }
    go(3);
    for (const int wrong : {-1, 6, 3}) {
        const auto names = (*two)->getHistoryNames().ssize();
        go(wrong);
        EXPECT_EQ(position(), 3);
        EXPECT_EQ((*two)->getHistoryNames().ssize(), names);
    }
    edit(3.0, 9);
    EXPECT_EQ(steps(), 4) << "what was undone is gone";
    EXPECT_EQ(position(), 4);
}

TEST_F(Undo, theOldestStepsFallOff) {
    for (int i = 0; i < 40; i++) edit(1.0 + 0.05 * (i + 1));
    EXPECT_EQ(steps(), 32);
    EXPECT_EQ(position(), 32);
    go(0);
    EXPECT_DOUBLE_EQ(gain(), 1.4) << "the state that the 33rd step back had";
}

TEST_F(Undo, stepsOfOneGestureMerge) {
    for (int i = 0; i < 10; i++) edit(1.1 + 0.1 * i, 2, 0, true, 77);
    EXPECT_EQ(steps(), 1);
    go(0);
    EXPECT_EQ(gain(2), 1.0);
    go(1);
    EXPECT_DOUBLE_EQ(gain(2), 2.0);
    struct Row {
        int element, group;
        bool isMergeable;
        int32_t key;
        int added;
    };
    constexpr Row kRows[] = {
        {2, 0, true, 78, 1},  // another gesture
        {2, 0, true, 78, 0},  // merges
        {9, 0, true, 78, 1},  // another element count of the group
        {8, 0, true, 78, 0},  // any element of the group, as long as its count stays
        {2, 1, true, 78, 1},  // another group
        {2, 1, false, 78, 1}, // not mergeable
        {2, 1, true, -1, 1},  // the last one is not mergeable
        {2, 1, true, -1, 0},  // no key is a key as well
    };
    for (const Row& row : kRows) {
        const int count = steps();
        edit(1.01 + 0.01 * gain(row.element, row.group), row.element, row.group, row.isMergeable,
             row.key);
        EXPECT_EQ(steps() - count, row.added) << &row - kRows;
    }
}

TEST_F(Undo, openRecordsHoldSeveralEditsAndMayBeDropped) {
    int32_t undo = 0;
    ASSERT_FALSE((*one)->createUndoData(undo, "Old name", false, -1));
    for (const double value : {2.0, 2.5}) {
        ASSERT_FALSE((*one)->changeParam(
            gainsId, undo,
            CAudioParamChange::ofValues(formatOf(kGains), 1, 3, &value, 1, false, nullptr)));
    }
    ASSERT_FALSE((*one)->resetParam(gainsId, 0, 0, undo, false));
    const int index = 1 + 17 + 3; // bypass, group 1, third band of group 2
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{index})) << "begun once";
    ASSERT_FALSE((*one)->submitUndoData(undo, "New name"));
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{index, -index}));
    EXPECT_EQ(two->history().back(), "New name");
    go(0);
    EXPECT_EQ(gain(3, 1), 1.0);
    ASSERT_FALSE((*one)->createUndoData(undo, "Dropped", false, -1));
    const double value = 3.0;
    ASSERT_FALSE((*one)->changeParam(
        gainsId, undo,
        CAudioParamChange::ofValues(formatOf(kGains), 0, 1, &value, 1, false, nullptr)));
    ASSERT_FALSE((*one)->removeUndoData(undo));
    EXPECT_EQ(gain(1), 3.0) << "values stay";
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{index, -index, 2, -2}));
    EXPECT_EQ(steps(), 1);
    ASSERT_FALSE((*one)->createUndoData(undo, "Nothing", false, -1));
    ASSERT_FALSE((*one)->submitUndoData(undo, ""));
    EXPECT_EQ(steps(), 1);
    ASSERT_FALSE((*one)->createUndoData(undo, "Left open", false, -1));
    ASSERT_FALSE((*one)->changeParam(
        gainsId, undo,
        CAudioParamChange::ofValues(formatOf(kGains), 0, 1, &value, 1, false, nullptr)));
    one.reset(); // the client goes with the record open
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{index, -index, 2, -2, 2, -2}));
}

/// A host ends writing automation at the first end that it hears.
TEST_F(Undo, anElementThatTwoClientsHoldIsBegunAndEndedOnce) {
    const int32_t otherId = two->listen(kGains, otherEar);
    const auto move = [&](TestClient& client, int32_t id, int32_t undo, double value) {
        EXPECT_FALSE(client->changeParam(
            id, undo,
            CAudioParamChange::ofValues(formatOf(kGains), 0, 4, &value, 1, false, nullptr)));
    };
    int32_t first = 0, second = 0;
    ASSERT_FALSE((*one)->createUndoData(first, "One", false, -1));
    ASSERT_FALSE((*two)->createUndoData(second, "Two", false, -1));
    for (const double value : {2.0, 2.5}) {
        move(*one, gainsId, first, value);
        move(*two, otherId, second, value + 0.1);
    }
    ASSERT_FALSE((*one)->submitUndoData(first, ""));
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{5})) << "still held";
    ASSERT_FALSE((*two)->submitUndoData(second, ""));
    EXPECT_EQ(wrapper->edits, (std::vector<int32_t>{5, -5}));
    for (TestClient* client : {one.get(), two.get()})
        EXPECT_EQ(client->history(),
                  (std::vector<std::string>{"Undo history start", "One", "Two"}));
    EXPECT_EQ(ear.value(0, 4), 2.6);
    EXPECT_EQ(otherEar.value(0, 4), 2.6);
}

/// The side that is shown, as an example, is of no state and so of no history. Who asks is told.
TEST_F(Undo, whatNoStateHoldsIsNoStep) {
    ParamEar side;
    const int32_t id = one->listen("ab-state", side);
    one->edit(id, formatOf("ab-state"), 0, 0, 1.0);
    EXPECT_EQ(side.value(0, 0), 1.0);
    EXPECT_EQ(steps(), -1) << "nobody was told of a history";
    edit(2.0);
    TestClient late(*wrapper);
    EXPECT_TRUE(late.history().empty());
    ASSERT_FALSE(late->requestUndoHistory());
    EXPECT_EQ(late.history(), (std::vector<std::string>{"Undo history start", "Gain"}));
    EXPECT_EQ(late->getHistoryPosition(), 1);
}

TEST_F(Undo, presetsAreOneStepEach) {
    ASSERT_FALSE((*one)->activateFactoryPreset(registryId, 3));
    const CAudioPreset preset = capture();
    ASSERT_FALSE((*one)->activateDefaultPreset(registryId));
    ASSERT_FALSE((*one)->activatePreset(registryId, -1, preset));
    ASSERT_FALSE((*one)->activatePreset(registryId, 1, preset));
    ASSERT_FALSE((*one)->renamePreset(registryId, 0, "Loud"));
    EXPECT_EQ(two->history(),
              (std::vector<std::string>{"Undo history start", "ROM preset activate", "Master reset",
                                        "Master preset activate", "Master preset activate (Side)",
                                        "Program name change"}));
    EXPECT_EQ(programName(0), "Loud");
    go(4);
    EXPECT_EQ(programName(0), "Side Bass Removal");
    go(0);
    EXPECT_EQ(gain(0, 1), 1.0);
    EXPECT_EQ(wrapper->text("io-params.group-names", 0), "STEREO");
    EXPECT_EQ(programName(0), "Default");
    go(5);
    EXPECT_EQ(wrapper->text("io-params.group-names", 1), "Side");
    EXPECT_EQ(wrapper->text("preset-name", 0), "Loud");
}

TEST_F(Undo, eachProgramHasItsHistory) {
    edit(2.0);
    edit(3.0);
    go(1);
    int32_t gesture = 0;
    const double value = 2.0;
    ASSERT_FALSE((*one)->createUndoData(gesture, "Gesture", false, -1));
    ASSERT_FALSE((*one)->changeParam(
        gainsId, gesture,
        CAudioParamChange::ofValues(formatOf(kGains), 0, 0, &value, 1, false, nullptr)));
    ASSERT_FALSE((*one)->setCurrentProgram(registryId, 2));
    ASSERT_FALSE((*one)->submitUndoData(gesture, ""));
    EXPECT_EQ(steps(), 0) << "a gesture that began in another program is no step of this one";
    edit(1.2);
    ASSERT_FALSE((*one)->setCurrentProgram(registryId, 0));
    EXPECT_EQ(steps(), 2);
    EXPECT_EQ(position(), 1);
    go(2);
    EXPECT_EQ(gain(), 3.0);
    ASSERT_FALSE((*one)->setCurrentProgram(registryId, 2));
    EXPECT_EQ(steps(), 1);
    go(0);
    EXPECT_NEAR(gain(), 1.0, 1e-12);
}

TEST_F(Undo, aBankBeginsEveryHistoryAnew) {
    const CByteBuffer bank = chunk(false);
    edit(2.0);
    ASSERT_FALSE((*one)->setCurrentProgram(registryId, 2));
    edit(3.0);
    edit(4.0);
    ASSERT_FALSE(wrapper->setState(bank.data(), bank.size(), false, true));
    EXPECT_EQ(steps(), 0) << "and the clients are told";
    ASSERT_FALSE((*one)->setCurrentProgram(registryId, 0));
    EXPECT_EQ(steps(), 0);
    EXPECT_EQ(gain(), 1.0);
}

TEST_F(Undo, theOtherSideIsExchangedWithItsHistory) {
    edit(2.0);
    const CByteBuffer first = chunk(true);
    set("bypass-enable", 1.0); // of the session and not of a side
    ASSERT_FALSE((*one)->exchangeShadowPreset(registryId));
    EXPECT_EQ(wrapper->value("bypass-enable"), 1.0);
    set("bypass-enable", 0.0);
    ASSERT_FALSE((*one)->exchangeShadowPreset(registryId));
    EXPECT_EQ(wrapper->value("bypass-enable"), 0.0);
    EXPECT_EQ(chunk(true), first) << "the first exchange compares the state with itself";
    EXPECT_EQ(steps(), 1);
    edit(3.0, 4);
    edit(3.5, 4);
    const CByteBuffer second = chunk(true);
    ASSERT_FALSE((*one)->exchangeShadowPreset(registryId));
    EXPECT_EQ(chunk(true), first);
    EXPECT_EQ(steps(), 1);
    ASSERT_FALSE((*one)->exchangeShadowPreset(registryId));
    EXPECT_EQ(chunk(true), second);
    EXPECT_EQ(steps(), 3);
    ASSERT_FALSE((*one)->updateShadowPreset(registryId));
    ASSERT_FALSE((*one)->exchangeShadowPreset(registryId));
    EXPECT_EQ(chunk(true), second);
    EXPECT_EQ(steps(), 3);
    go(0);
    EXPECT_EQ(gain(4), 1.0) << "a copied history undoes as well";
}

TEST_F(Undo, importedLabelsAreOneStep) {
    ASSERT_FALSE((*one)->importChannelLabels());
    EXPECT_EQ(steps(), -1) << "without labels nothing happens";
    wrapper->inputLabels = {"Ls", "Rs"};
    ASSERT_FALSE((*one)->importChannelLabels());
    EXPECT_EQ(two->history().back(), "Channel label import");
    EXPECT_EQ(wrapper->text("io-params.in-channel-names", 1), "Rs");
    EXPECT_EQ(wrapper->text("io-params.in-channel-names", 2), "IN3");
    ASSERT_FALSE((*one)->importChannelLabels());
    EXPECT_EQ(steps(), 1) << "nothing new";
    go(0);
    EXPECT_EQ(wrapper->text("io-params.in-channel-names", 1), "R");
}

} // namespace
} // namespace lum::test
