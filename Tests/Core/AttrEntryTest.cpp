#include "Core/CAttrEntry.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

using namespace lum;

namespace {

/// What an entry converts to; nothing stands for a failure.
struct CConversions {
    CAttrEntry entry;
    std::optional<bool> asBool;
    std::optional<int32_t> asInt;
    std::optional<double> asReal;
    std::optional<std::string> asText;
};

constexpr std::nullopt_t kFails = std::nullopt;

TEST(AttrEntry, eachTypeConvertsAsTheTableSays) {
    int object = 0;
    const CConversions rows[] = {
        {CAttrEntry::ofBool(true), true, 1, kFails, "true"},
        {CAttrEntry::ofBool(false), false, 0, kFails, "false"},
        {CAttrEntry::ofReal(1.5), kFails, 2, 1.5, "1.5000"},
        {CAttrEntry::ofReal(-2.5), kFails, -3, -2.5, "-2.5000"},
        {CAttrEntry::ofReal(0.00005), kFails, 0, 0.00005, "0.0001"},
        {CAttrEntry::ofReal(-0.00001), kFails, 0, -0.00001, "0.0000"},
        {CAttrEntry::ofReal(1e17), kFails, std::numeric_limits<int32_t>::max(), 1e17,
         "100000000000000000.0000"},
        {CAttrEntry::ofInt(-7), true, -7, -7.0, "-7"},
        {CAttrEntry::ofInt(0), false, 0, 0.0, "0"},
        {CAttrEntry::ofString("1"), true, 1, 1.0, "1"},
        {CAttrEntry::ofString("0x10"), kFails, 16, kFails, "0x10"},
        {CAttrEntry::ofString("1.5"), kFails, kFails, 1.5, "1.5"},
        {CAttrEntry::ofString("word"), kFails, kFails, kFails, "word"},
        {CAttrEntry::ofPointer(&object), kFails, kFails, kFails, kFails},
        {CAttrEntry(), false, 0, 0.0, ""},
    };
    for (const CConversions& row : rows) {
        SCOPED_TRACE(row.asText.value_or("pointer"));
        for (int round = 0; round < 2; round++) { // the second round answers from the cache
            bool b = true;
            int32_t i = 77;
            double r = 77;
            CString t = "77";
            EXPECT_EQ(row.entry.toBool(b), row.asBool.has_value());
            EXPECT_EQ(b, row.asBool.value_or(false));
            EXPECT_EQ(row.entry.toInt(i), row.asInt.has_value());
            EXPECT_EQ(i, row.asInt.value_or(0));
            EXPECT_EQ(row.entry.toReal(r), row.asReal.has_value());
            EXPECT_EQ(r, row.asReal.value_or(0.0));
            EXPECT_EQ(row.entry.toString(t), row.asText.has_value());
            EXPECT_EQ(t.toUtf8(), row.asText.value_or(""));
        }
    }
}

TEST(AttrEntry, textTakesTheNarrowestTypeThatPrintsItBack) {
    const std::pair<const char*, AttrType> rows[] = {
        {"10", AttrType::Integer},
        {"-10", AttrType::Integer},
        {"0", AttrType::Integer},
        {"010", AttrType::String},
        {"-0", AttrType::String},
        {"+1", AttrType::String},
        {"0x10", AttrType::String},
        {"1.5", AttrType::String},
        {"99999999999", AttrType::String},
        {"true", AttrType::Boolean},
        {"false", AttrType::Boolean},
        {"True", AttrType::String},
        {"", AttrType::Empty},
    };
    for (const auto& [text, type] : rows) {
        EXPECT_EQ(CAttrEntry::ofText(text).type(), type) << text;
        EXPECT_EQ(CAttrEntry::ofText(text).text(), text);
    }
    CAttrEntry entry = CAttrEntry::ofText("12");
    EXPECT_EQ(entry.realOr(5), 12.0);
    entry = CAttrEntry::ofText("word"); // forgets the conversions of the old value
    EXPECT_EQ(entry.realOr(5), 5.0);
}

} // namespace
