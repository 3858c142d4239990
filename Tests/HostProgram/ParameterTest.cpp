#include "Host/Failure.h"
#include "Host/ParameterSetting.h"
#include "HostProgram/HostFixture.h"

namespace lum::host {

namespace {

TEST(SettingText, splitsNameTimeAndValue) {
    struct Case {
        const char* argument;
        const char* parameter;
        double seconds;
        const char* value;
    };
    const Case cases[] = {
        {"1EQ3=-4.5dB", "1EQ3", 0.0, "-4.5dB"},
        {"1EQ3@2.5s=-4.5dB", "1EQ3", 2.5, "-4.5dB"},
        {"1EQ3@2.5=50%", "1EQ3", 2.5, "50%"},
        {"a@b@1=c=d", "a@b", 1.0, "c=d"},
    };
    for (const auto& test : cases) {
        const SettingText setting = parseSetting(test.argument);
        EXPECT_EQ(setting.parameter, test.parameter);
        EXPECT_EQ(setting.seconds, test.seconds);
        EXPECT_EQ(setting.value, test.value);
    }
    for (const char* wrong : {"", "=", "a=", "=1", "a", "a@=1", "a@x=1", "a@-1=1", "a@1e999=1"}) {
        EXPECT_THROW(parseSetting(wrong), Failure) << wrong;
    }
}

TEST(ParameterValue, everyFormOfTextFindsTheValueThatShowsIt) {
    const PluginModule module(LUM_TEST_PLUGIN);
    PluginInstance plugin(module);
    struct Case {
        const char* parameter;
        const char* text;
        float value;
        ConvertedBy by;
    };
    const Case cases[] = {
        {"Gain", "-4.5dB", 0.40625f, ConvertedBy::Plugin},
        {"gain", "+4.5 db", 0.59375f, ConvertedBy::Plugin},
        {"Trim", "-4.5dB", 0.40625f, ConvertedBy::Search},
        {"#1", "24dB", 1.0f, ConvertedBy::Search},
        {"1", "24dB", 1.0f, ConvertedBy::Search},
        {"Trim", "-24.0dB", 0.0f, ConvertedBy::Search},
        {"Mode", "On", 1.0f, ConvertedBy::Search},
        {"Mode", "off", 0.0f, ConvertedBy::Search},
        {"Trim", "25%", 0.25f, ConvertedBy::Percent},
        {"Trim", "0.125", 0.125f, ConvertedBy::Number},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.parameter) + "=" + test.text);
        const int index = findParameter(plugin, test.parameter);
        const float before = plugin.parameter(index);
        const ParameterValue value = parameterValue(plugin, index, test.text);
        // What a search finds lies in the middle of all that shows the text, 0.1 dB wide.
        EXPECT_NEAR(value.normalised, test.value, 1e-4f);
        EXPECT_EQ(value.by, test.by);
        EXPECT_EQ(plugin.parameter(index), before) << "the search must leave the value alone";
    }
    for (const char* wrong : {"1.5", "101%", "Maybe", "24.2dB", "nan", "3 dB/oct"}) {
        EXPECT_THROW(parameterValue(plugin, 1, wrong), Failure) << wrong;
    }
    for (const char* unknown : {"Gai", "#3", "3", "#-1", "#", ""}) {
        EXPECT_THROW(findParameter(plugin, unknown), Failure) << unknown;
    }
}

} // namespace

} // namespace lum::host
