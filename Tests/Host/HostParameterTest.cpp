#include "Host/HostedPlugin.h"

using namespace lum::vst;

TEST(HostParameters, theListIsBypassAndTheBandsOfTwoGroups) {
    Instance instance;
    ASSERT_EQ(instance.effect->numParams, 35);
    std::vector<std::string> names = {"Bypass"};
    for (int group = 1; group <= 2; group++) {
        for (int band = 0; band < 16; band++)
            names.push_back(std::to_string(group) + "EQ" + std::to_string(band));
        names.push_back(std::to_string(group) + "OGain");
    }
    for (int i = 0; i < 35; i++) {
        EXPECT_EQ(instance.text(kEffectGetParameterName, i), names[static_cast<size_t>(i)]);
        EXPECT_EQ(instance.text(kEffectGetParameterLabel, i), i == 0 ? "" : "dB");
        EXPECT_EQ(instance.text(kEffectGetParameterDisplay, i), i == 0 ? "Off" : "0.0");
        EXPECT_EQ(instance.send(kEffectCanBeAutomated, i), 1);
        EXPECT_FLOAT_EQ(instance.effect->getParameter(instance.effect, i), i == 0 ? 0.0F : 0.5F);
    }
}

TEST(HostParameters, valuesAreClampedShownAndParsed) {
    struct Row {
        int index;
        float written;
        float stored;
        const char* display;
    };
    constexpr Row kRows[] = {
        {0, 1.0F, 1.0F, "On"},          {1, 1.5F, 1.0F, "12.0"},   {2, -1.0F, 0.0F, "-12.0"},
        {16, 0.3125F, 0.3125F, "-4.5"}, {17, 0.75F, 0.75F, "6.0"}, {34, 0.4999F, 0.4999F, "0.0"},
    };
    Instance instance;
    for (const Row& row : kRows) {
        instance.set(row.index, row.written);
        EXPECT_FLOAT_EQ(instance.effect->getParameter(instance.effect, row.index), row.stored);
        EXPECT_EQ(instance.text(kEffectGetParameterDisplay, row.index), row.display);
    }
    // A band behind others that were never written leaves those at their default.
    EXPECT_FLOAT_EQ(instance.effect->getParameter(instance.effect, 15), 0.5F);
    for (int wrong : {-1, 35, 1000}) {
        instance.set(wrong, 1.0F);
        EXPECT_EQ(instance.effect->getParameter(instance.effect, wrong), 0.0F);
        EXPECT_EQ(instance.text(kEffectGetParameterName, wrong), "");
    }
    EXPECT_TRUE(HostModel::current().automations.empty()) << "a host write must not echo";

    char text[32] = "6";
    EXPECT_EQ(instance.send(kEffectVendorSpecific, 27, 1, text), 0xBEEF);
    EXPECT_STREQ(text, "0.750000");
    EXPECT_EQ(instance.send(kEffectVendorSpecific, 7, 1, text, 0.75F), 0xBEEF);
    EXPECT_STREQ(text, "6.0");
    EXPECT_EQ(instance.send(kEffectVendorSpecific, 7, 35, text, 0.75F), 0);
    EXPECT_EQ(instance.send(kEffectVendorSpecific, 0x73744361, 0x57686565), 1);
    EXPECT_EQ(instance.send(kEffectVendorSpecific, 0x73744341, 1), 0);
}

/// A host's buffer may be exactly as long as the text kind allows.
TEST(HostParameters, textsStayInsideTheHostsBuffers) {
    struct Row {
        int opcode;
        size_t room;
        const char* text;
    };
    constexpr Row kRows[] = {
        {kEffectGetParameterName, 8, "1EQ15"},
        {kEffectGetParameterLabel, 8, "dB"},
        {kEffectGetParameterDisplay, 8, "0.0"},
        {kEffectGetProgramName, 24, "Default"},
        {kEffectProgramNameIndexed, 24, ""},
        {kEffectGetEffectName, 32, "Sorrel GEQ"},
        {kEffectGetVendorString, 64, "Lumeron"},
        {kEffectGetProductString, 64, "Lumeron Sorrel GEQ"},
    };
    Instance instance;
    for (const Row& row : kRows) {
        char buffer[256];
        std::memset(buffer, 0x5A, sizeof buffer);
        if (!*row.text) buffer[0] = 0;
        instance.send(row.opcode, 16, 0, buffer);
        EXPECT_STREQ(buffer, row.text);
        for (size_t i = row.room; i < sizeof buffer; i++) ASSERT_EQ(buffer[i], 0x5A) << row.opcode;
        instance.send(row.opcode, 16, 0, nullptr); // no place to write to
    }
}

TEST(HostParameters, theEffectTellsWhatItIs) {
    Instance instance;
    EXPECT_EQ(instance.effect->magic, kMagic);
    EXPECT_EQ(instance.effect->uniqueId, fourCharacters('1', '6', '8', 'a'));
    EXPECT_EQ(instance.effect->version, 0x10000);
    EXPECT_EQ(instance.effect->numPrograms, 7);
    EXPECT_EQ(instance.effect->numInputs, 8);
    EXPECT_EQ(instance.effect->numOutputs, 8);
    EXPECT_EQ(instance.effect->flags,
              kFlagCanReplacing | kFlagCanDoubleReplacing | kFlagProgramChunks);
    char name[24] = {};
    struct Row {
        int opcode;
        int32_t index;
        intptr_t value;
        const void* ptr;
        intptr_t answer;
    };
    const Row rows[] = {
        {kEffectGetVstVersion, 0, 0, nullptr, 2400},
        {kEffectGetVendorVersion, 0, 0, nullptr, 0x10000},
        {kEffectGetCategory, 0, 0, nullptr, 1},
        {kEffectGetTailSize, 0, 0, nullptr, 0},
        {kEffectCanDo, 0, 0, "hasCockosExtensions", static_cast<intptr_t>(0xBEEF0000)},
        {kEffectCanDo, 0, 0, "receiveVstMidiEvent", 1},
        {kEffectCanDo, 0, 0, "receiveVstTimeInfo", 1},
        {kEffectCanDo, 0, 0, "bypass", 0},
        {kEffectProgramNameIndexed, 0, -1, name, 1},
        {kEffectProgramNameIndexed, 7, -1, name, 0},
        {kEffectSetProcessPrecision, 0, 1, nullptr, 1},
        {kEffectSetProcessPrecision, 0, 2, nullptr, 0},
        {kEffectGetParameterProperties, 0, 0, name, 0},
        {-1, 0, 0, nullptr, 0},
        {1234567, 0, 0, nullptr, 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(instance.send(row.opcode, row.index, row.value, const_cast<void*>(row.ptr)),
                  row.answer)
            << row.opcode;
}
