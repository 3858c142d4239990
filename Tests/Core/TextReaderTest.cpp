#include "Core/CMemoryReader.h"
#include "Core/CTextReaderLine.h"

#include <gtest/gtest.h>
#include <string>

using namespace lum;

namespace {

/// Lines of a text, each with its terminator: "/" for a line feed, "." for the end.
std::string linesOf(const std::string& text) {
    CMemoryReader source(text.data(), static_cast<int32_t>(text.size()));
    CTextReaderLine reader(source);
    std::string all;
    char16_t terminator = kLineEnd;
    while (terminator == kLineEnd) {
        CString line = u"\u20AC";
        EXPECT_FALSE(reader.readLine(line, terminator));
        all += line.toUtf8() + (terminator == kLineEnd ? "/" : ".");
    }
    return all;
}

} // namespace

TEST(TextReader, linesEndAtLineFeedsAndTheStreamsEnd) {
    const std::pair<std::string, std::string> rows[] = {
        {"", "."},
        {"a", "a."},
        {"a\n\nb\n", "a//b/."},
        {"a\rb\r\n\r\r\n", "ab//."},           // carriage returns go wherever they stand
        {std::string("a\nb\0c\n", 6), "a/b."}, // a NUL is an end
        {"\xE9\n", "\xC3\xA9/."},              // a byte is a character
        {std::string(500, 'x') + "\ny", std::string(500, 'x') + "/y."},
        {std::string(40000, 'x') + "\n", std::string(40000, 'x') + "/."},
        {std::string(16383, 'x') + "\ny\n", std::string(16383, 'x') + "/y/."}, // at the refill
        {std::string(16384, 'x') + "\ny\n", std::string(16384, 'x') + "/y/."},
    };
    for (const auto& [text, lines] : rows) EXPECT_EQ(linesOf(text), lines);
}

TEST(TextReader, aFailingStreamIsReported) {
    struct CBrokenStream : CInputStream {
        CErrorResult read(void*, int64_t) override { return LUM_FAIL("@lumstr_Test Broken."); }
    } source;
    CTextReaderLine reader(source);
    CString line;
    char16_t terminator = kLineEnd;
    EXPECT_EQ(reader.readLine(line, terminator).line(0), "Broken.");
    EXPECT_EQ(terminator, kStreamEnd);
    EXPECT_TRUE(line.empty());
}
