#include "Audio/ParamFixture.h"

#include <cmath>

using namespace lum;

namespace {

class Converter : public CParamFixture {
protected:
    /// A parameter with the range of a converter's own units, given as texts.
    static const CAudioParamInfo& rangeOf(const std::string& converter, const char* low,
                                          const char* high, CTextAttrs texts = {}) {
        texts.insert({{"converter", "shared::" + converter},
                      {"min-values", low},
                      {"max-values", high},
                      {"def-values", low}});
        return infoOf(texts);
    }
    static std::string format(const CAudioParamInfo& info, double value, FormatMode mode) {
        return info.converter()->formatValue(info, 0, value, nullptr, mode).toUtf8();
    }
};

constexpr FormatMode kNormal = FormatMode::Normal, kCompact = FormatMode::Compact,
                     kShort = FormatMode::Short, kPrecise = FormatMode::Precise;

double fromDb(double level) {
    return std::pow(10.0, level / 20.0);
}

TEST_F(Converter, valuesReadAsTheirTexts) {
    const CAudioParamInfo& gain = rangeOf("gain", "-24", "24");
    const CAudioParamInfo& freq =
        rangeOf("freq", "20", "20k", {{"switch-values", "20000"}, {"switch-names", "Off"}});
    const CAudioParamInfo& hertz = rangeOf("freq", "1", "200000");
    const CAudioParamInfo& real = rangeOf("real", "-100", "100");
    const CAudioParamInfo& time = rangeOf("time", "0", "60000");
    makeConverter("exact", "audio:cvt-time",
                  {{"scale", "0.001"}, {"is-exact", "true"}, {"is-precise", "true"}});
    const CAudioParamInfo& exact = rangeOf("exact", "0", "1000");
    const CAudioParamInfo& onOff = rangeOf("on-off", "0", "1");
    const CAudioParamInfo& pairs =
        rangeOf("enum", "1", "4", {{"state-names", "First|Fst pair;Second"}});
    const CAudioParamInfo& number = rangeOf("enum", "0", "9");
    const struct {
        const CAudioParamInfo& info;
        double value;
        FormatMode mode;
        const char* text;
    } cases[] = {
        {gain, 1.0, kNormal, "0.0"},
        {gain, fromDb(-0.04), kNormal, "0.0"},
        {gain, fromDb(-4.46), kNormal, "-4.5"},
        {gain, fromDb(-0.05), kPrecise, "-0.05"},
        {gain, fromDb(-0.03), kCompact, "0.0"},
        {gain, fromDb(0.004), kCompact, "0"},
        {gain, fromDb(9.94), kCompact, "9.9"},
        {gain, fromDb(-9.96), kCompact, "-10"},
        {freq, 1000.0, kNormal, "1.00k"},
        {freq, 999.4, kNormal, "999"},
        {freq, 99.94, kNormal, "99.9"},
        {freq, 99.96, kNormal, "100"},
        {freq, 19950.0, kNormal, "Off"},
        {freq, 12345.0, kNormal, "12.3k"},
        {hertz, 20000.0, kNormal, "20.0k"},
        {hertz, 9994.0, kNormal, "9.99k"},
        {hertz, 99.4, kCompact, "99.4"},
        {hertz, 9999.4, kCompact, "9999"},
        {hertz, 12345.0, kCompact, "12.3k"},
        {hertz, 123456.0, kCompact, "123k"},
        {hertz, 440.0, kPrecise, "440.00"},
        {real, -0.004, kNormal, "0.00"},
        {real, -0.05, kNormal, "-0.05"},
        {real, 9.94, kCompact, "9.9"},
        {real, -9.96, kCompact, "-10"},
        {time, 0.012, kNormal, "12.0"},
        {time, 0.0012, kNormal, "1.20"},
        {time, 0.123, kNormal, "123"},
        {time, 1.5, kCompact, "1.5*"},
        {time, 15.0, kCompact, "15*"},
        {time, 0.00004, kCompact, "0"},
        {time, 0.0094, kCompact, "9.4"},
        {time, 0.5, kCompact, "500"},
        {exact, 0.5, kNormal, "500.000"},
        {onOff, 1.0, kNormal, "On"},
        {onOff, 2.0, kNormal, "Reserve"},
        {onOff, -1.0, kCompact, "Rsv"},
        {pairs, 1.0, kNormal, "First"},
        {pairs, 1.0, kShort, "Fst pai"},
        {pairs, 2.0, kCompact, "Sec"},
        {number, 3.0, kNormal, "3"},
    };
    for (const auto& c : cases) EXPECT_EQ(format(c.info, c.value, c.mode), c.text) << c.value;
}

TEST_F(Converter, textsParseToClampedValues) {
    const CAudioParamInfo& gain = rangeOf("gain", "-12", "12");
    const CAudioParamInfo& freq =
        rangeOf("freq", "20", "16000", {{"switch-values", "20000"}, {"switch-names", "Off"}});
    const CAudioParamInfo& real = rangeOf("real", "5", "-5");
    const CAudioParamInfo& time = rangeOf("time", "1", "500");
    const CAudioParamInfo& onOff = rangeOf("on-off", "0", "1");
    const CAudioParamInfo& pairs =
        rangeOf("enum", "1", "4", {{"state-names", "First|Fst pair;Second"}});
    constexpr double kBad = -777.0;
    const struct {
        const CAudioParamInfo& info;
        const char* text;
        double value; // kBad: the fallback, not ok
    } cases[] = {
        {gain, "-4,5", fromDb(-4.5)},
        {gain, "40", fromDb(12)},
        {gain, "4 dB", kBad},
        {freq, "1.5k", 1500.0},
        {freq, "2,5K", 2500.0},
        {freq, "1e3", 1000.0},
        {freq, "5", 20.0},
        {freq, "Off", 20000.0},
        {freq, "k", kBad},
        {freq, "", kBad},
        {real, ".5", 0.5},
        {real, "5.", 5.0},
        {real, "1e", kBad},
        {real, "+9", 5.0},
        {real, "-9", -5.0},
        {time, "12", 0.012},
        {time, "1000", 0.5},
        {time, "ms", kBad},
        {onOff, "On", 1.0},
        {onOff, " off ", 0.0},
        {onOff, "TRUE", 1.0},
        {onOff, "1", 1.0},
        {onOff, "#1", 1.0},
        {onOff, "maybe", kBad},
        {pairs, "second", 2.0},
        {pairs, "FST PAIx", 1.0},
        {pairs, "fst pair", 1.0},
        {pairs, "9", 4.0},
    };
    for (const auto& c : cases) {
        bool isOk = false;
        double value = c.info.converter()->parseText(c.info, 0, c.text, isOk);
        EXPECT_EQ(isOk, c.value != kBad) << c.text;
        double expected = isOk ? c.value : c.info.minValues[0];
        EXPECT_NEAR(value, expected, 1e-12 * std::fabs(expected) + 1e-300) << c.text;
    }
}

TEST_F(Converter, positionsGoThereAndBack) {
    makeConverter("bent", "audio:cvt-gain", {{"scale-power", "2.0"}});
    makeConverter("unity", "audio:cvt-gain", {{"scale-power", "0.5"}, {"scale-threshold", "0.75"}});
    makeConverter("log-time", "audio:cvt-time", {{"scale", "0.001"}, {"is-log", "true"}});
    for (const CAudioParamInfo* info :
         {&rangeOf("gain", "-12", "12"), &rangeOf("bent", "-12", "12"),
          &rangeOf("unity", "-40", "6"), &rangeOf("freq", "20", "20000"),
          &rangeOf("real", "5", "-5"), &rangeOf("time", "1", "500"),
          &rangeOf("log-time", "1", "500")}) {
        const CAudioParamConverter& converter = *info->converter();
        for (double x : {0.0, 0.1, 0.5, 0.74, 0.75, 0.76, 1.0}) {
            double value = converter.positionToValue(*info, 0, x);
            EXPECT_NEAR(converter.valueToPosition(*info, 0, value), x, 1e-9);
            double display = converter.positionToDisplay(*info, 0, x);
            EXPECT_NEAR(converter.displayToPosition(*info, 0, display), x, 1e-7);
        }
        EXPECT_NEAR(converter.positionToValue(*info, 0, 0.0), info->minValues[0], 1e-9);
        EXPECT_NEAR(converter.positionToValue(*info, 0, 1.0), info->maxValues[0], 1e-9);
    }
    const CAudioParamInfo& gain = rangeOf("gain", "-12", "12");
    EXPECT_NEAR(gain.converter()->positionToValue(gain, 0, 0.5), 1.0, 1e-15);
    const CAudioParamInfo& unity = rangeOf("unity", "-40", "6");
    EXPECT_EQ(unity.converter()->positionToValue(unity, 0, 0.75), 1.0);
    const CAudioParamInfo& time = rangeOf("time", "0", "48");
    EXPECT_NEAR(time.converter()->valueToPosition(time, 0, 0.012), 0.5, 1e-15);
    const CAudioParamInfo& steps = rangeOf("enum", "0", "3");
    EXPECT_EQ(steps.converter()->positionToValue(steps, 0, 0.5), 2.0);
}

TEST_F(Converter, wrongAttributesFailTheLoad) {
    const struct {
        const char *tag, *attribute, *text, *message;
    } cases[] = {
        {"freq", "scale-power", "0", "Invalid 'scale-power' attribute value 0 specified."},
        {"gain", "scale-threshold", "2", "Invalid 'scale-threshold' attribute value 2 specified."},
        {"gain", "decimals", "11", "Invalid 'decimals' attribute value 11 specified."},
        {"real", "decimals", "11", "Invalid decimals 11 specified."},
        {"time", "none", "", "Invalid scale 0 specified."}};
    for (const auto& c : cases) {
        CAudioParamConverter* converter = nullptr;
        const std::string tag = std::string("audio:cvt-") + c.tag;
        EXPECT_EQ(
            create(*CObject::sharedRoot(), converter, tag.c_str(), "bad", {{c.attribute, c.text}})
                .line(0),
            c.message);
    }
}

} // namespace
