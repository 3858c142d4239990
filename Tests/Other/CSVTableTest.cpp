#include "Core/TempFolder.h"
#include "Other/CCSVTable.h"

#include <gtest/gtest.h>

using namespace lum;

namespace {

/// The table of a text: cells in brackets, rows parted by "/"; "!" and the message for a failure.
std::string tableOf(const std::string& text) {
    CTempFolder folder;
    folder.put("table.csv", text);
    CCSVTable table;
    if (const CErrorResult failure = table.load(folder / "table.csv")) {
        EXPECT_EQ(table.getRowCount(), 0);
        return "!" + failure.line(0).toUtf8().substr(0, 6);
    }
    std::string all;
    for (int row = 0; row < table.getRowCount(); row++) {
        if (row > 0) all += "/";
        for (int column = 0; !(table.getCell(row, column, "none") == "none"); column++)
            all += "[" + table.getCell(row, column).toUtf8() + "]";
    }
    return all;
}

} // namespace

TEST(CSVTable, cellsRowsQuotesAndComments) {
    const std::pair<const char*, const char*> rows[] = {
        {"1.0, 2.0; \"a,b\" # x\n", "[1.0][2.0][a,b]"},
        {"\"say \"\"hi\"\"\"\n", "[say \"hi\"]"},
        {"a \"\" b\n", "[a  b]"},   // an empty pair of quotes
        {"\"a\" \"b\"\n", "[a b]"}, // a blank between makes two quoted parts
        {"\"#;\"\n", "[#;]"},
        {"\n  \t\n# only a comment\n", ""},
        {",\n", "[][]"},
        {"a,\n", "[a][]"},
        {" ,b\n\nc\n", "[][b]/[c]"},
        {"\"open, end\nb,c\n", "[open, end]/[b][c]"}, // quotes end with their line
        {"\"  a  \"\n", "[a]"},
        {"a\nb", "[a]"}, // no line feed, no row
        {"", ""},
        {"a,#b,c\n", "[a][]"},
    };
    for (const auto& [text, table] : rows) EXPECT_EQ(tableOf(text), table) << text;
}

TEST(CSVTable, aTableThatGrowsBeyondItsFileIsRefused) {
    EXPECT_EQ(tableOf(std::string(9 * 1024 * 1024, 'x') + "\n"), "!File '");
    std::string rows;
    for (int i = 0; i < 1000000; i++) rows += "1\n";
    EXPECT_EQ(tableOf(rows), "!File '");
    EXPECT_EQ(tableOf(std::string(1000000, ',') + "\n"), "!File '");
    EXPECT_EQ(tableOf(std::string(1000000, 'x') + "\n"), "[" + std::string(1000000, 'x') + "]");
}

TEST(CSVTable, cellsThatDoNotExistGiveTheDefault) {
    CTempFolder folder;
    folder.put("t", "a,b\nc\n");
    CCSVTable table;
    ASSERT_FALSE(table.load(folder / "t"));
    EXPECT_EQ(table.getCell(1, 0, "d"), "c");
    for (const auto& [row, column] : {std::pair(1, 1), {2, 0}, {-1, 0}, {0, -1}})
        EXPECT_EQ(table.getCell(row, column, "d"), "d");
    EXPECT_TRUE(table.load(folder / "absent"));
    EXPECT_EQ(table.getRowCount(), 0);
}
