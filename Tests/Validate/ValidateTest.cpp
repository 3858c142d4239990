// The validator against a plug-in that behaves, and against the same one with one fault at a time.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

struct Report {
    int status = 0;
    std::string output;
};

Report validate(const std::string& plugin, const std::string& options) {
    const std::string command =
        LUM_VALIDATE_PROGRAM " '" + plugin + "' --thread-seconds 1 " + options + " 2>&1";
    Report run;
    std::FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 1024> bytes{};
    while (std::fgets(bytes.data(), bytes.size(), pipe)) run.output += bytes.data();
    run.status = WEXITSTATUS(pclose(pipe));
    return run;
}

struct Fault {
    const char* name;
    const char* check; // that has to find it
};

constexpr Fault kFaults[] = {
    {"knows-all", "unknownNumbersAnswerZero"},
    {"long-text", "textsStayInTheirRoom"},
    {"takes-anything", "parametersOutOfRange"},
    {"depends-on-blocks", "anyDivisionGivesTheSameBits"},
    {"writes-beside", "nothingIsWrittenBesideTheBlock"},
    {"wrong-latency", "theFieldIsTheDelayHeard"},
    {"forgets", "savedRestoredSavedIsByteIdentical"},
    {"keeps-nan", "badInputIsForgottenSoon"},
    {"sets-mode", "callsLeaveTheProcessAsItIs"},
    {"sets-folder", "callsLeaveTheProcessAsItIs"},
    {"starts-thread", "threadsExistOnlyForBlocks"},
    {"makes-file", "scanningLeavesAndNeedsNothing"},
    {"clicks", "aJumpOfAParameterIsAMorph"},
    {"ramps", "aRestoredStateIsAMorph"},
    {"crashes", "theFieldIsTheDelayHeard"},
#ifdef LUM_HAS_GUARD // a sanitizer has its own memory, and stands where the guard would
    {"leaks", "loadedAndUnloadedManyTimes"},
    {"allocates", "steadyBlocksDoNotTouchTheSystem"},
#endif
};

class Validate : public testing::TestWithParam<Fault> {
protected:
    ~Validate() override { unsetenv("NAUGHTY"); }
};

TEST_P(Validate, theFaultIsFoundAndOnlyThen) {
    const Fault& fault = GetParam();
    const std::string only = "--only " + std::string(fault.check);
    const Report good = validate(LUM_NAUGHTY_PLUGIN, only);
    EXPECT_EQ(good.status, 0) << good.output;
    setenv("NAUGHTY", fault.name, 1);
    const Report bad = validate(LUM_NAUGHTY_PLUGIN, only);
    EXPECT_EQ(bad.status, 1) << bad.output;
    EXPECT_EQ(bad.output.find("FAIL"), 0u) << bad.output;
    EXPECT_NE(bad.output.find(fault.check), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Faults, Validate, testing::ValuesIn(kFaults), [](const auto& row) {
    std::string name = row.param.name;
    for (char& c : name)
        if (c == '-') c = '_';
    return name;
});

TEST(ValidateProgram, outputOfThePluginIsSeenAndWrongFilesAreTold) {
    setenv("NAUGHTY", "prints", 1);
    const Report run = validate(LUM_NAUGHTY_PLUGIN, "--only theFieldIsTheDelayHeard");
    unsetenv("NAUGHTY");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("nothingIsWrittenToStandardOutput"), std::string::npos);
    EXPECT_EQ(validate("/nowhere.so", "").status, 2);
    EXPECT_EQ(validate("/bin/true", "").status, 2);
    EXPECT_EQ(validate(LUM_NAUGHTY_PLUGIN, "--only nobody").status, 2);
}

} // namespace
