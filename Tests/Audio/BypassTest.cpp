#include "GraphFixture.h"

using namespace lum;

namespace {

constexpr int kLatency = 392;
constexpr int kFade = 720; // 15 ms at 48 kHz

CNode bypass(const char* name, const char* remap, Attrs attrs = {}) {
    attrs.push_back({"is-smooth-update", "true"});
    attrs.push_back({"xfade-length", "0.015"});
    return process(
        "audio:modBypass", name, attrs,
        {param("enable", "0"), param("group-solo", "0"), alloc(0, "enable"),
         alloc(1, "group-solo", {{"use-all-groups", "true"}}),
         process("audio:param-remap", "r", {}, {process("content", "c", {{"value", remap}})})});
}

/// The shape of the product's chain: dry path from a node, soloing, bypass.
std::vector<CNode> chain() {
    return {router("in", false, "1,2,3,4", "0,0,1,1"),
            process("audio:modNode", "node", {{"bypass-state-id", "-1"}}),
            delay("d", kLatency, {{"is-stacked", "true"}}),
            bypass("solo", "group-solo = ^channel-group-solo;", {{"bypass-state-id", "35"}}),
            bypass("bypass", "enable = ^bypass-enable;"),
            router("out", true, "1,2,3,4", "0"),
            param("bypass-enable", "0", kSingle),
            param("channel-group-solo", "0"),
            param("solo-off", "0", kSingle),
            process("audio:param-filter-bypass-group-solo", "f",
                    {{"src", "channel-group-solo"}, {"dst", "solo-off"}}),
            process("audio:process-bypass-state", "s",
                    {{"id", "35"}, {"param", "solo-off"}, {"value", "1.0"}}),
            linkOf("node", "bypass/1")};
}

struct CChain : CGraph {
    CChain() {
        build(chain());
        setInput(4);
        for (int group : {0, 1}) set("plugin.main.d.gain", group, 0, 0.25);
        run(3000);
    }
};

TEST(BypassTest, bypassedOutputIsTheDelayedInputExactlyAndCrossesOver) {
    CChain g;
    g.set("plugin.main.bypass-enable", 0, 0, 1.0);
    Channels out = g.run(5000, {100, 512, 1});
    for (int c = 0; c < 4; c++)
        for (int i = 0; i < 5000; i++) {
            double dry = noiseAt(c, 3000 + i - kLatency);
            double share = oldShare(i, kFade);
            double tolerance = i < kFade ? 1e-9 : 0.0;
            double expected = i < kFade ? dry * (0.25 * share + 1.0 - share) : dry;
            ASSERT_NEAR(out[c][static_cast<size_t>(i)], expected, tolerance);
        }
    g.set("plugin.main.bypass-enable", 0, 0, 0.0);
    g.run(2000);
    out = g.run(100);
    EXPECT_EQ(out[1][50], 0.25 * noiseAt(1, g.position - 50 - kLatency));
}

TEST(BypassTest, aSoloLeavesTheNoiseFloorInTheOtherGroupsAndComesAndGoes) {
    CChain g;
    EXPECT_FALSE(g.isActive("solo"));
    for (int round = 0; round < 2; round++) {
        g.set("plugin.main.channel-group-solo", 1, 0, 1.0);
        Channels out = g.run(3000);
        EXPECT_TRUE(g.isActive("solo"));
        for (size_t i = 1000; i < 3000; i++) ASSERT_LE(std::abs(out[0][i]), 0x1p-42);
        EXPECT_EQ(out[3][2000], 0.25 * noiseAt(3, g.position - 1000 - kLatency));
        g.set("plugin.main.channel-group-solo", 1, 0, 0.0);
        out = g.run(3000);
        EXPECT_EQ(out[0][2000], 0.25 * noiseAt(0, g.position - 1000 - kLatency));
        EXPECT_FALSE(g.isActive("solo"));
    }
}

TEST(BypassTest, bypassPassesTheDrySignalOfAllGroupsWhileOneIsSoloed) {
    CChain g;
    g.set("plugin.main.channel-group-solo", 1, 0, 1.0);
    g.set("plugin.main.bypass-enable", 0, 0, 1.0);
    Channels out = g.run(3000);
    for (int c = 0; c < 4; c++) EXPECT_EQ(out[c][2000], noiseAt(c, g.position - 1000 - kLatency));
}

/// The dry path goes straight into its port until the other one becomes late.
TEST(BypassTest, theDryPathFollowsALatencyThatTheOtherOneGetsLater) {
    constexpr int kLate = 100, kChangeAt = 3000;
    for (bool isHeard : {true, false}) {
        CGraph g;
        g.build({delay("early", 0, {{"bypass-state-id", "3"}}),
                 delay("late", kLate, {{"bypass-state-id", "4"}}),
                 bypass("bypass", "enable = ^bypass-enable;"), param("bypass-enable", "0", kSingle),
                 param("is-late", "0", kSingle),
                 process("audio:process-bypass-state", "s",
                         {{"id", "3"}, {"param", "is-late"}, {"value", "1"}}),
                 process("audio:process-bypass-state", "s",
                         {{"id", "4"}, {"param", "is-late"}, {"value", "0"}}),
                 linkOf("*", "early"), linkOf("*", "late"), linkOf("early", "bypass"),
                 linkOf("late", "bypass"), linkOf("*", "bypass/1"), linkOf("bypass", "*")},
                {});
        g.setInput(2);
        if (isHeard) g.set("plugin.main.bypass-enable", 0, 0, 1.0);
        g.run(kChangeAt);
        g.set("plugin.main.is-late", 0, 0, 1.0);
        Channels out = g.run(2000, {100, 512, 1});
        if (isHeard)
            for (int i = 0; i < 2000; i++) {
                const double share = i < kFade ? oldShare(i, kFade) : 0.0;
                const double late = i < kLate ? 0.0 : noiseAt(1, kChangeAt + i - kLate);
                ASSERT_NEAR(out[1][static_cast<size_t>(i)],
                            share * noiseAt(1, kChangeAt + i) + (1.0 - share) * late, 1e-9)
                    << i;
            }
        g.set("plugin.main.bypass-enable", 0, 0, 1.0);
        g.run(2000);
        out = g.run(100);
        EXPECT_EQ(out[1][50], noiseAt(1, g.position - 50 - kLate)) << isHeard;
    }
}

TEST(BypassTest, withoutADryPathItIsSilent) {
    CGraph g;
    g.build({bypass("bypass", "enable = ^bypass-enable;"), param("bypass-enable", "1", kSingle)});
    g.setInput(1);
    EXPECT_LE(std::abs(g.run(100)[0][50]), 0x1p-42);
}

} // namespace
