#include "Audio/CAudioPreset.h"
#include "Audio/ParamFixture.h"
#include "Core/CAppData.h"
#include "Core/TempFolder.h"

#include <cmath>

using namespace lum;

namespace {

class ParamInfo : public CParamFixture {
protected:
    static std::string failureOf(const CTextAttrs& texts) {
        CAudioParamDef* definition = nullptr;
        return declare(definition, texts).line(0).toUtf8();
    }
};

TEST_F(ParamInfo, wrongDefinitionsSayWhatIsWrong) {
    const struct {
        CTextAttrs texts;
        const char* message;
    } cases[] = {
        {{{"element-size", "0"}}, "Invalid element size 0 specified."},
        {{{"element-size", "2"}, {"data-type", "raw"}},
         "Invalid element size 2 for non-float data specified."},
        {{{"converter", ""}}, "Audio parameter converter '' not found."},
        {{{"converter", "shared::nothing"}},
         "Audio parameter converter 'shared::nothing' not found."},
        {{{"element-size", "2"}}, "Audio parameter converter '' not found."},
        {{{"min-values", " "}}, "Not enough minimum values defined 0 (should be 1)."},
        {{{"max-values", ""}}, "Not enough maximum values defined 0 (should be 1)."},
        {{{"min-values", "10.0"}}, "Zero default min-max values difference detected in element 0."},
        {{{"def-values", "1,x"}}, "Default values parsing error."},
        {{{"def-values", ""}}, "Default values parsing error."},
        {{{"def-values", "1 2,3"},
          {"element-size", "2"},
          {"converter2", "shared::real"},
          {"min-values", "0 0"},
          {"max-values", "9 9"}},
         "Not enough default elements at pos 5."},
        {{{"state-names", "@no-such-list"}}, "No state names data available in 'no-such-list'."},
    };
    CTempFolder folder; // the stores look there for the list
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    for (const auto& c : cases) EXPECT_EQ(failureOf(c.texts), c.message);
    unsetenv("XDG_CONFIG_HOME");
}

TEST_F(ParamInfo, flagsAndRangesFollowTheDeclaration) {
    const CAudioParamInfo& both = infoOf({{"is-storable", "true"}, {"is-persistent", "true"}});
    EXPECT_FALSE(both.isStorable);
    EXPECT_TRUE(both.isPersistent && both.isGlobal);
    const CAudioParamInfo& gain = infoOf({{"converter", "shared::gain"},
                                          {"min-values", "-12"},
                                          {"max-values", "12"},
                                          {"def-values", "0.0"}});
    EXPECT_NEAR(gain.minValues[0], 0.2511886431509580, 1e-15);
    EXPECT_EQ(gain.defaults.read(0, 5), 1.0);
    const CAudioParamInfo& reversed = infoOf({{"min-values", "10"}, {"max-values", "0"}});
    EXPECT_EQ(reversed.clamp(0, 11.0), 10.0);
    EXPECT_EQ(reversed.clamp(0, -1.0), 0.0);
    EXPECT_EQ(reversed.clamp(0, std::nan("")), 0.0);
    const CAudioParamInfo& text =
        infoOf({{"data-type", "string"}, {"converter", "shared::text"}, {"def-values", ""}});
    EXPECT_EQ(text.maxValues[0], 8388608.0);
    EXPECT_EQ(text.defaults.readString(3, 3), "");
}

TEST_F(ParamInfo, stateNamesComeFromTheTextOrFromAStoredList) {
    const CAudioParamInfo& info = infoOf({{"state-names", " One state |Short state;Twentyfour; "}});
    EXPECT_EQ(info.stateNames[0], "One state");
    EXPECT_EQ(info.stateShortNames[0], "Short s");
    EXPECT_EQ(info.stateShortNames[1], "Twentyf");
    EXPECT_EQ(info.stateNames.size(), 3u);

    CVector<CAudioPresetBank, 1> banks;
    banks.emplace_back().resize(2);
    banks[0].presets[0].name = "LMIO:Stereo pair;St";
    banks[0].presets[0].setEntry("key", {"abc", 3});
    banks[0].presets[1].name = "LMIO:Surround";
    CWriteSeqBuffer list;
    EXPECT_FALSE(saveBankList(list, banks));
    CTempFolder folder;
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    CAppDataGlobal::get().write("test-names", bytesOf(list), nullptr, kListBlock);
    const CAudioParamInfo& stored = infoOf({{"state-names", "@/test-names"}});
    unsetenv("XDG_CONFIG_HOME");
    ASSERT_EQ(stored.stateNames.size(), 2u);
    EXPECT_EQ(stored.stateNames[0], "Stereo pair");
    EXPECT_EQ(stored.stateShortNames[0], "St");
    EXPECT_EQ(stored.stateShortNames[1], "Surroun");
}

TEST_F(ParamInfo, switchesAreAllOrNothing) {
    const CAudioParamInfo& good = infoOf({{"switch-values", "20000,5"}, {"switch-names", "Off"}});
    CString name;
    EXPECT_TRUE(good.findSwitchName(20099.0, name) && name == "Off");
    EXPECT_FALSE(good.findSwitchName(20101.0, name));
    EXPECT_EQ(good.switchNames.size(), 2u);
    EXPECT_TRUE(infoOf({{"switch-values", "1,x"}}).switchValues.empty());
}

TEST_F(ParamInfo, streamFormCarriesEverythingAndCutStreamsFail) {
    const CAudioParamInfo& info = infoOf({{"is-global", "true"},
                                          {"visual-name", "Band Gain"},
                                          {"state-names", "a|b;c"},
                                          {"switch-values", "3"},
                                          {"is-single-group", "true"},
                                          {"def-values", "1,2;3"}});
    CByteBuffer bytes = bytesOf(info);
    CAudioParamInfo loaded;
    CMemoryReader reader(bytes);
    ASSERT_FALSE(loaded.load(reader));
    EXPECT_EQ(bytesOf(loaded), bytes);
    EXPECT_TRUE(loaded.isSameAs(info) && loaded.isGlobal && loaded.converter());
    EXPECT_EQ(loaded.defaults.read(7, 1), 2.0);
    for (size_t length = 0; length < bytes.size(); length++) {
        CMemoryReader cut(bytes.data(), static_cast<int32_t>(length));
        EXPECT_TRUE(loaded.load(cut)) << length;
    }
}

} // namespace
