#include "Core/CString.h"

#include <clocale>
#include <gtest/gtest.h>
#include <limits>
#include <string>

using namespace lum;

namespace {

CString repeated(size_t length) {
    return std::string_view(std::string(length, 'x'));
}

} // namespace

// The two forms of one text are the same to every operation.
TEST(StringTest, bothFormsBehaveAlikeAtAnyLength) {
    for (size_t length = 0; length < 80; length++) {
        CString narrow;
        for (size_t i = 0; i < length; i++) narrow.append(static_cast<char16_t>(1 + i * 5 % 255));
        CString wide = narrow;
        wide.widen();
        ASSERT_FALSE(narrow.isWide());
        ASSERT_TRUE(wide.isWide());
        EXPECT_EQ(narrow, wide);
        EXPECT_EQ(wide.at(length), 0);
        EXPECT_EQ(narrow.toUtf8(), wide.toUtf8());
        EXPECT_EQ(CString::fromUtf8(wide.toUtf8()), narrow);
        CString joined = narrow;
        joined.append(wide);
        joined.append(joined);
        EXPECT_TRUE(joined.isWide());
        EXPECT_EQ(joined.length(), 4 * length);
        EXPECT_EQ(joined.substring(3 * length), narrow);
        joined.narrow();
        EXPECT_EQ(joined.substring(length, static_cast<int>(length)), wide);
    }
}

TEST(StringTest, aCharacterAbove255Widens) {
    CString text = "abc";
    text.append(u'\x20AC');
    EXPECT_TRUE(text.isWide());
    EXPECT_EQ(text.length(), 4U);
    EXPECT_EQ(text, CString(u"abc\x20AC"));
    text = "abc";
    EXPECT_FALSE(text.isWide());
}

TEST(StringTest, assignmentFromAPartOfItselfWorks) {
    CString text = repeated(40) + "tail";
    text = text.text8() + 40;
    EXPECT_EQ(text, "tail");
    text = repeated(40) + "tail";
    text += text.text8() + 40;
    EXPECT_EQ(text.substring(40), "tailtail");
    CString moved = std::move(text);
    EXPECT_EQ(moved.length(), 48U);
    EXPECT_TRUE(text.empty()); // a moved-from string is an empty one
}

TEST(StringTest, ordersByCodeUnitWhateverTheForm) {
    const CString ascending[] = {"", "A", "a", "ab", "b", "\xE9", u"\x0100", u"\x20AC"};
    for (size_t a = 0; a < std::size(ascending); a++) {
        for (size_t b = 0; b < std::size(ascending); b++) {
            CString wide = ascending[b];
            wide.widen();
            EXPECT_EQ(ascending[a] < ascending[b], a < b) << a << " " << b;
            EXPECT_EQ(ascending[a] < wide, a < b) << a << " " << b;
        }
    }
    EXPECT_EQ(CString("ab"), "ab");
    EXPECT_NE(CString("ab"), "abc");
}

TEST(StringTest, utf8KeepsPairsAndDropsWhatIsNoCharacter) {
    const std::string pair = "a\xF0\x9F\x98\x80z\xE2\x82\xAC";
    EXPECT_EQ(CString(u"a\xD83D\xDE00z\x20AC").toUtf8(), pair);
    EXPECT_EQ(CString::fromUtf8(pair).toUtf8(), pair);
    EXPECT_EQ(CString(u"a\xDE00\xD83Dz\xD83D").toUtf8(), "az");
    EXPECT_EQ(CString::fromUtf8("a\xFF\x80z\xC3"), "az");
    EXPECT_EQ(CString::fromUtf8("\xC3\xA9"), "\xE9");
}

TEST(StringTest, splitsTrimsAndFinds) {
    CVector<CString> parts;
    CString(" a  b").split(parts, ' ', true);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[1], "b");
    CString(",x,").split(parts, ',', false, false);
    ASSERT_EQ(parts.size(), 5U);
    EXPECT_EQ(parts[2], "");
    EXPECT_EQ(parts[3], "x");
    EXPECT_EQ(CString("\t\r\n a b \n").trimmed(), "a b");
    EXPECT_EQ(CString(" \t").trimmed(), "");
    EXPECT_EQ(CString("abcabc").find("ca"), 2);
    EXPECT_EQ(CString("abc").find("abcd"), -1);
    EXPECT_EQ(CString("a.b.c").findLast('.'), 3);
    EXPECT_TRUE(CString("abc").endsWith("bc"));
    EXPECT_FALSE(CString("bc").endsWith("abc"));
    EXPECT_EQ(CString("aZ\xE9\xF7").upperCase(), "AZ\xC9\xF7");
}

TEST(StringTest, parsesIntegers) {
    struct CCase {
        const char* text;
        bool isNumber;
        int32_t value;
    };
    const CCase cases[] = {{"0", true, 0},
                           {"-12", true, -12},
                           {"007", true, 7},
                           {"0x1F", true, 31},
                           {"-#10", true, -16},
                           {"$ff", true, 255},
                           {"0xFFFFFFFF", true, -1},
                           {"2147483647", true, 2147483647},
                           {"-2147483648", true, INT32_MIN},
                           {"2147483648", false, 0},
                           {"99999999999999999999", false, 0},
                           {"", false, 0},
                           {"-", false, 0},
                           {"0x", false, 0},
                           {"+1", false, 0},
                           {"1 ", false, 0},
                           {"1f", false, 0}};
    for (const CCase& c : cases) {
        int32_t value = 99;
        EXPECT_EQ(CString(c.text).parseInt(value), c.isNumber) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

TEST(StringTest, parsesRealsInAnyLocale) {
    struct CCase {
        const char* text;
        bool isNumber;
        double value;
    };
    const CCase cases[] = {
        {"1", true, 1.0},    {"+1.5", true, 1.5},   {"-1,5", true, -1.5}, {".5", true, 0.5},
        {"5.", true, 5.0},   {"1e3", true, 1000.0}, {"1E-2", true, 0.01}, {"-.5e+1", true, -5.0},
        {"1e", false, 0.0},  {"e5", false, 0.0},    {".", false, 0.0},    {"", false, 0.0},
        {"+", false, 0.0},   {"1.2.3", false, 0.0}, {" 1", false, 0.0},   {"+-1", false, 0.0},
        {"inf", false, 0.0}, {"0x10", false, 0.0},  {"1e-999", true, 0.0}};
    for (const char* locale : {"C", "de_DE.UTF-8"}) {
        std::setlocale(LC_ALL, locale); // stays as it is where the machine lacks it
        for (const CCase& c : cases) {
            double value = 99.0;
            EXPECT_EQ(CString(c.text).parseReal(value), c.isNumber) << c.text;
            EXPECT_EQ(value, c.value) << c.text;
        }
    }
    std::setlocale(LC_ALL, "C");
    double value = 0.0;
    EXPECT_FALSE(CString(u"\x0131").parseReal(value)); // its low byte is a digit
}

/// Too small is 0, too large the largest number, by whichever part of the text it is so.
TEST(StringTest, parsesRealsBeyondTheirRange) {
    const std::string zeros(400, '0');
    constexpr double kLargest = std::numeric_limits<double>::max();
    const std::pair<std::string, double> cases[] = {{"-1e999", -kLargest},
                                                    {"1e99999999999999999999", kLargest},
                                                    {"1E-99999999999999999999", 0.0},
                                                    {"0." + zeros + "1", 0.0},
                                                    {"-0," + zeros + "1E+5", 0.0},
                                                    {"." + zeros + "1e9999", kLargest},
                                                    {"." + zeros + "1e401", 1.0},
                                                    {"1" + zeros, kLargest},
                                                    {"-1" + zeros + ".5e-5", -kLargest},
                                                    {"1" + zeros + "e-9999", 0.0},
                                                    {"1" + zeros + "e-400", 1.0},
                                                    {zeros + "e9999", 0.0}};
    for (const auto& [text, expected] : cases) {
        double value = 99.0;
        EXPECT_TRUE(CString(text).parseReal(value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(StringTest, formatsMessages) {
    struct CCase {
        const char* text;
        const char* expected;
    };
    const CCase cases[] = {{"%2 of %1", "b of a"}, {"100%%", "100%"}, {"%3", ""},
                           {"x%0y%zw", "xyw"},     {"end%", "end"},   {"%%1", "%1"}};
    for (const CCase& c : cases) EXPECT_EQ(formatMessage(c.text, {"a", "b"}), c.expected) << c.text;
    EXPECT_EQ(formatMessage("%1!", {CString(u"\x20AC")}), CString(u"\x20AC!"));
}
