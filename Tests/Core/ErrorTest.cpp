#include "Core/CError.h"
#include "Core/CLog.h"
#include "Core/TempFolder.h"

#include <gtest/gtest.h>

using namespace lum;

namespace {

CErrorResult failAt(const char* message, const CVector<CString>& arguments = {}) {
    return addError(nullptr, "file.cpp", 12, "a.b", message, arguments);
}

CErrorResult innermost(int code) {
    return LUM_FAIL("@lumstr_id Code %1 of %2.", code, "here");
}

CErrorResult passesUp(int code) {
    LUM_TRY(innermost(code));
    return nullptr;
}

} // namespace

TEST(ErrorTest, theIdIsDroppedAndTheArgumentsArePutIn) {
    EXPECT_EQ(failAt("@lumstr_id Text %1.", {"x"}).line(0), "Text x.");
    EXPECT_EQ(failAt("@lumstr_id").line(0), "");
    EXPECT_EQ(failAt("Plain @text").line(0), "Plain @text");
    EXPECT_EQ(failAt("Plain").line(1), "file.cpp( 12 ) // a.b");
    EXPECT_EQ(addError(nullptr, "f.cpp", 3, {}).get()->lines.size(), 2U);
    EXPECT_EQ(addError(nullptr, "f.cpp", 3, {}).line(0), "");
    EXPECT_EQ(addError(nullptr, "f.cpp", 3, {}).line(1), "f.cpp( 3 )");
}

TEST(ErrorTest, eachLevelAddsOneLineOfTrace) {
    CErrorResult error = passesUp(5);
    ASSERT_TRUE(error);
    ASSERT_EQ(error.get()->lines.size(), 3U);
    EXPECT_EQ(error.line(0), "Code 5 of here.");
    EXPECT_GE(error.line(2).find("ErrorTest.cpp( "), 0);
    for (int i = 0; i < 20; i++) error = addError(std::move(error), "f", i, {});
    EXPECT_EQ(error.get()->lines.size(), 23U); // beyond the room inside the record
    EXPECT_EQ(error.line(22), "f( 19 )");
}

TEST(LogTest, theFirstLineBeginsTheFileAnewAndEndsAreCrLf) {
    const CTempFolder folder;
    folder.put("log", "old");
    setLogPath(folder / "log");
    logLine("one");
    logLine("two", false);
    logFormat(" %d", 3);
    printError(failAt("Gone."));
    setLogPath({});
    logLine("dropped");
    EXPECT_EQ(folder.get("log"), "one\r\ntwo 3\r\nGone.\r\nfile.cpp( 12 ) // a.b\r\n");
}
