#include "Audio/StateFixture.h"

#include "Core/CAppData.h"
#include "Core/TempFolder.h"

#include <cmath>
#include <functional>
#include <thread>

namespace lum::test {
namespace {

class Registry : public StateFixture {};

constexpr const char* kNames[] = {"Default",           "Brighter and Bassy", "Presence",
                                  "Side Bass Removal", "Mids Boost",         "Lo-Fi",
                                  "Ultra Bass Boost"};

double gainDb(TestWrapper& wrapper, int element, int group = 0) {
    return 20.0 * std::log10(wrapper.value("modSorrelGEQ.gains", element, group));
}

TEST_F(Registry, programsAreThoseOfTheFactoryAndKeepTheirEdits) {
    ASSERT_EQ(registry().getProgramCount(), 7);
    for (int i = 0; i < 7; i++) EXPECT_EQ(programName(i), kNames[i]);
    registry().setCurrentProgram(1, nullptr);
    EXPECT_NEAR(gainDb(*wrapper, 0), 4.62, 1e-9);
    EXPECT_NEAR(gainDb(*wrapper, 15), 7.60, 1e-9);
    EXPECT_EQ(wrapper->text("preset-name", 0), "Brighter and Bassy");
    registry().setCurrentProgram(3, nullptr);
    EXPECT_NEAR(gainDb(*wrapper, 0, 1), -10.01, 1e-9);
    EXPECT_EQ(wrapper->value("io-params.ms-pairs", 1), 1.0);
    set("modSorrelGEQ.gains", 2.0, 4, 1);
    registry().setCurrentProgram(6, nullptr);
    EXPECT_NEAR(gainDb(*wrapper, 4), 0.0, 1e-9) << "behind the last stored band";
    registry().setCurrentProgram(3, nullptr);
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 4, 1), 2.0);
    for (int wrong : {-1, 7, 3}) {
        registry().setCurrentProgram(wrong, nullptr);
        EXPECT_EQ(registry().getCurrentProgram(), 3);
    }
}

/// A persistent parameter that is not storable stays over a program and a user's preset; the
/// host's state brings it back, in every program of a bank.
TEST_F(Registry, persistentParametersFollowTheHostsStateAlone) {
    set("bypass-enable", 1.0);
    wrapper->param("instance-name").setString(0, 0, "Piano", nullptr);
    const CByteBuffer bank = chunk(false);
    registry().setCurrentProgram(2, nullptr);
    EXPECT_EQ(wrapper->value("bypass-enable"), 1.0);
    set("bypass-enable", 0.0);
    ASSERT_FALSE(activate(capture()));
    registry().activateFactoryPreset(5);
    EXPECT_EQ(wrapper->value("bypass-enable"), 0.0);
    EXPECT_EQ(wrapper->text("instance-name", 0), "Piano");
    ASSERT_FALSE(wrapper->setState(bank.data(), bank.size(), false, true));
    EXPECT_EQ(registry().getCurrentProgram(), 2);
    EXPECT_EQ(wrapper->value("bypass-enable"), 1.0) << "though it was saved in program 0";
}

TEST_F(Registry, programNameAndPresetNameFollowEachOther) {
    wrapper->param("preset-name").setString(0, 0, "Typed", nullptr);
    EXPECT_EQ(programName(0), "Typed");
    registry().renamePreset(0, "Loud", nullptr);
    EXPECT_EQ(wrapper->text("preset-name", 0), "Loud");
    registry().renamePreset(4, "Other", nullptr);
    EXPECT_EQ(programName(4), "Other");
    EXPECT_EQ(wrapper->text("preset-name", 0), "Loud");
    registry().renamePreset(7, "None", nullptr);
    registry().activateFactoryPreset(2);
    EXPECT_EQ(programName(0), "Presence");
    registry().setCurrentProgram(4, nullptr);
    EXPECT_EQ(wrapper->text("preset-name", 0), "Other");
    EXPECT_EQ(programName(0), "Presence");
    registry().renamePreset(4, CString::fromUtf8(std::string(70000, 'x')), nullptr);
    EXPECT_GT(chunk(false).size(), 100u) << "no name is too long for a chunk";
}

TEST_F(Registry, whatAPresetLacksGoesToItsDefault) {
    CAudioPreset preset = capture();
    preset.entries.erase("modOutGain.gain");
    // What nothing declares, and other spellings of a path that leads to something declared.
    const char* const strange[] = {"no-such-parameter", "modOutGain..gain", "modOutGain.gain#0",
                                   "modOutGain.^modOutGain.gain"};
    for (const char* key : strange) preset.setEntry(key, preset.entries.begin()->second);
    set("modOutGain.gain", 2.0);
    set("modOutGain.gain", 3.0, 0, 1);
    set("modSorrelGEQ.gains", 3.0, 5, 4);
    ASSERT_FALSE(activate(preset));
    EXPECT_EQ(wrapper->value("modOutGain.gain"), 1.0);
    EXPECT_EQ(wrapper->value("modOutGain.gain", 0, 1), 1.0);
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 5, 4), 1.0);
    bool isMade = false;
    wrapper->getCollector().forEachParam([&](CAudioParam& param) {
        for (const char* key : strange) isMade = isMade || param.getName().endsWith(key);
    });
    EXPECT_FALSE(isMade) << "names from outside must not pile up";
}

TEST_F(Registry, oneGroupOfAPresetIsSavedAndLoadedAlone) {
    set("modSorrelGEQ.gains", 2.0, 3, 1);
    const CAudioPreset preset = capture("param-registry-io");
    EXPECT_EQ(preset.name, "LMIO:");
    EXPECT_EQ(messageOf(activate(preset)), "Incompatible preset.");
    ASSERT_FALSE(activate(preset, -1, "param-registry-io"));
    const CAudioPreset whole = capture();
    set("modSorrelGEQ.gains", 0.5, 3, 2);
    ASSERT_FALSE(activate(whole, 2)); // group 0 of the preset goes to group 2
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3, 2), 1.0);
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3, 1), 2.0);
    CWriteSeqBuffer out;
    EXPECT_EQ(messageOf(registry().acquirePreset(true, 7, -1, out)),
              "Invalid preset index 7 specified.");
    EXPECT_EQ(messageOf(registry("param-registry-io").acquireBank(false, out)),
              "Acquiring bank in a non-master registry is an error.");
}

/// While the host is told something, its other threads may well be in a call of theirs.
TEST_F(Registry, theHostIsToldWithoutALockThatItsOtherCallsTake) {
    TestClient client(*wrapper);
    RegistryEar ear;
    const int32_t id = client.listen("plugin.param-registry", ear);
    const CByteBuffer bank = chunk(false);
    bool isDue = false;
    wrapper->onHostCall = [&] {
        if (!std::exchange(isDue, false)) return;
        std::thread([&] {
            CByteBuffer state;
            EXPECT_FALSE(wrapper->getState(state, false, true));
            (void)wrapper->text("preset-name", 0);
            set("modSorrelGEQ.gains", 0.5, 0, 5);
            wrapper->getRegistry().renamePreset(6, "Other", nullptr);
        }).join();
    };
    const std::function<void()> calls[] = {
        [&] { EXPECT_FALSE(client->activateFactoryPreset(id, 1)); },
        [&] { EXPECT_FALSE(client->setUndoHistoryPos(0)); },
        [&] { EXPECT_FALSE(client->setCurrentProgram(id, 3)); },
        [&] { EXPECT_FALSE(client->renamePreset(id, 3, "Mine")); },
        [&] { EXPECT_FALSE(client->exchangeShadowPreset(id)); },
        [&] { wrapper->param("preset-name").setString(0, 0, "Typed", nullptr); },
        [&] { EXPECT_FALSE(wrapper->setState(bank.data(), bank.size(), false, true)); },
    };
    for (const auto& call : calls) {
        isDue = true;
        call();
        EXPECT_FALSE(isDue) << "the host did not hear of call " << &call - calls;
    }
}

TEST_F(Registry, everyRoutingComesBackByteForByte) {
    // A program that has never been the present one holds an entry less.
    for (int program = 0; program < 7; program++) registry().setCurrentProgram(program, nullptr);
    CByteBuffer bytes;
    CAppDataGlobal::get().read("routing-presets-sys", bytes, kListBlock);
    CMemoryReader reader(bytes);
    CVector<CAudioPresetBank, 1> list;
    ASSERT_FALSE(loadBankList(reader, list));
    ASSERT_EQ(list.size(), 1u);
    EXPECT_GT(list[0].presets.size(), 10u);
    for (const CAudioPreset& preset : list[0].presets) {
        ASSERT_FALSE(activate(preset, -1, "param-registry-io")) << preset.name.toUtf8();
        const CByteBuffer bank = chunk(false);
        registry().setCurrentProgram(0, nullptr);
        ASSERT_FALSE(wrapper->setState(bank.data(), bank.size(), false, true));
        registry().setCurrentProgram(6, nullptr);
        EXPECT_EQ(chunk(false), bank) << preset.name.toUtf8();
    }
}

/// Whatever is wrong with a state, nothing has changed when it is refused.
TEST_F(Registry, aRefusedStateLeavesEverythingAsItWas) {
    using Damage = std::function<void(CAudioPreset&)>;
    const auto number = [](const char* key, size_t offset, uint32_t value) -> Damage {
        return [=](CAudioPreset& preset) {
            CByteBuffer& entry = preset.entries[key];
            uint32_t nameLength = 0;
            std::memcpy(&nameLength, entry.data(), 4);
            std::memcpy(entry.data() + 4 + nameLength + offset, &value, 4);
        };
    };
    const std::pair<Damage, const char*> rows[] = {
        {[](CAudioPreset& p) { p.name = "LMIO:Default"; }, "Incompatible"},
        {[](CAudioPreset& p) { p.name = "Default"; }, "Incompatible"},
        {number("modSorrelGEQ.gains", 0, 2), "Unsupported data set version 2."},
        {number("modSorrelGEQ.gains", 4, 2),
         "Unsupported storage format (esize=2, dtype=0; should be: esize=1, dtype=0)."},
        {number("preset-name", 8, 0),
         "Unsupported storage format (esize=1, dtype=0; should be: esize=1, dtype=1)."},
        {number("modSorrelGEQ.gains", 12, 1000), "Invalid group count 1000 encountered."},
        {number("modSorrelGEQ.gains", 16, 500), "Invalid element count 500 encountered."},
        {[](CAudioPreset& p) { p.setEntry("preset-name", CByteBuffer("12345678", 8)); }, ""},
    };
    registry().setCurrentProgram(3, nullptr);
    set("bypass-enable", 1.0);
    registry().activateFactoryPreset(1); // a step of history
    auto& undo = *wrapper->getInstanceRoot()->findAs<CAudioParamUndo>("plugin.interface-base");
    const CByteBuffer before = chunk(false);
    for (const auto& [damage, message] : rows) {
        CAudioPreset preset = capture();
        damage(preset);
        CAudioPresetBank bank;
        for (int i = 0; i < 3; i++) bank.presets.push_back(capture());
        bank.presets.push_back(preset);
        CByteBuffer bytes = bytesOf(preset);
        CErrorResult error = wrapper->setState(bytes.data(), bytes.size(), true, false);
        ASSERT_TRUE(error) << message;
        EXPECT_NE(messageOf(error).find(message), std::string::npos) << messageOf(error);
        bytes = bytesOf(bank);
        EXPECT_TRUE(wrapper->setState(bytes.data(), bytes.size(), false, false)) << message;
        EXPECT_EQ(chunk(false), before) << message;
        CVector<CString> steps;
        int position = 0;
        undo.getHistoryNames(steps, position);
        EXPECT_EQ(steps.size(), 2u) << message;
        EXPECT_EQ(position, 1) << message;
    }
}

TEST_F(Registry, damagedChunksNeverLeaveAHalf) {
    const CByteBuffer before = chunk(false);
    const CByteBuffer preset = chunk(true);
    EXPECT_TRUE(wrapper->setState(preset.data(), preset.size(), false, true)) << "the other kind";
    EXPECT_TRUE(wrapper->setState(before.data(), before.size(), true, true));
    for (size_t length = 17; length < before.size(); length += 7)
        EXPECT_TRUE(wrapper->setState(before.data(), length, false, true)) << length;
    for (size_t length = 0; length <= 16; length++)
        EXPECT_FALSE(wrapper->setState(before.data(), length, false, true)) << "nothing to do";
    for (size_t at = 16; at < before.size(); at += 5) {
        CByteBuffer wrong = before;
        wrong.data()[at] ^= 0x10;
        // What is taken in spite of it, as the bits that only fill up a byte, says the same.
        (void)wrapper->setState(wrong.data(), wrong.size(), false, true).line(0);
        ASSERT_EQ(chunk(false), before) << at;
    }
}

TEST_F(Registry, aBankReplacesWhatItHasAndClearsTheHistory) {
    registry().setCurrentProgram(3, nullptr);
    registry().activateFactoryPreset(1); // a step of history
    CAudioPresetBank bank;
    for (int i = 0; i < 2; i++) bank.presets.push_back(capture());
    bank.presets[1].name = "168a:Second";
    CByteBuffer bytes = bytesOf(bank);
    auto& undo = *wrapper->getInstanceRoot()->findAs<CAudioParamUndo>("plugin.interface-base");
    CVector<CString> names;
    int position = 0;
    ASSERT_FALSE(wrapper->setState(bytes.data(), bytes.size(), false, false));
    undo.getHistoryNames(names, position);
    EXPECT_EQ(position, 1) << "the present program is not among them";
    EXPECT_EQ(programName(1), "Second");
    EXPECT_EQ(programName(6), kNames[6]);
    for (int i = 0; i < 9; i++) bank.presets.push_back(bank.presets[1]);
    bytes = bytesOf(bank);
    ASSERT_FALSE(wrapper->setState(bytes.data(), bytes.size(), false, false));
    undo.getHistoryNames(names, position);
    EXPECT_EQ(position, 0);
    EXPECT_EQ(wrapper->text("preset-name", 0), "Second");
    EXPECT_EQ(registry().getProgramCount(), 7) << "the excess is lost";
}

TEST_F(Registry, masterResetGoesBackToTheStateAtTheStart) {
    set("modSorrelGEQ.gains", 2.0, 3, 0);
    set("modSorrelGEQ.gains", 2.0, 3, 6);
    set("bypass-enable", 1.0);
    registry().masterReset();
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3, 0), 1.0);
    EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3, 6), 1.0);
    EXPECT_EQ(wrapper->value("bypass-enable"), 1.0) << "not storable";
    CAudioPreset preset = capture();
    set("modSorrelGEQ.gains", 4.0, 0);
    preset = capture();
    const CByteBuffer bytes = bytesOf(preset);
    CMemoryReader reader(bytes);
    ASSERT_FALSE(registry().setDefaultPreset(reader));
    set("modSorrelGEQ.gains", 0.5, 0);
    registry().masterReset();
    EXPECT_NEAR(gainDb(*wrapper, 0), 12.0, 1e-9) << "limited to the range";
}

/// A user's stored default, in a process whose stores have looked nowhere yet.
class StoredDefault : public StateFixture {
public:
    StoredDefault() { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); }
    int run() {
        initInstance();
        set("modSorrelGEQ.gains", 2.0, 3);
        wrapper->param("instance-name").setString(0, 0, "Piano", nullptr);
        CAppDataLocal::get().write("default-preset", bytesOf(capture()), nullptr, kPresetBlock);
        initInstance();
        EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3), 2.0);
        EXPECT_EQ(wrapper->text("instance-name", 0), "Piano");
        set("modSorrelGEQ.gains", 3.0, 3);
        registry().masterReset();
        EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3), 2.0);
        registry().setCurrentProgram(1, nullptr);
        registry().masterReset();
        EXPECT_EQ(wrapper->value("modSorrelGEQ.gains", 3), 2.0) << "in every program";
        return HasFailure();
    }
    void TestBody() override {}

private:
    CTempFolder folder;
};

TEST(StoredDefaultDeathTest, isTheFirstProgramAndWhatAResetGoesBackTo) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a process that begins afresh
    const auto runAndExit = [] {
        const int status = StoredDefault().run(); // gone, with its folder, before the exit
        std::exit(status);
    };
    EXPECT_EXIT(runAndExit(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lum::test
