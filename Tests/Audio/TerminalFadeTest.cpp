#include "GraphFixture.h"

using namespace lum;

namespace {

constexpr const char* kGain = "plugin.main.d.gain";
constexpr int kFade = 480; // 10 ms at 48 kHz

double one(int, int) {
    return 1.0;
}

class TerminalFadeTest : public testing::TestWithParam<int> {};

TEST_P(TerminalFadeTest, aChangeWaitsForTheNewLatencyAndThenFollowsTheLaw) {
    const int latency = GetParam();
    for (bool isWhole : {false, true})
        for (const std::vector<int>& split : {std::vector<int>{4000}, {1}, {7, 500}, {512}}) {
            CGraph graph;
            graph.build({delay("d", latency,
                               {{"is-smooth-update", "true"},
                                {"is-terminal-whole", isWhole ? "true" : "false"}})});
            graph.setInput(2);
            graph.run(3000);
            graph.set(kGain, 0, 0, 3.0);
            Channels out = graph.run(4000, split);
            for (int c = 0; c < 2; c++)
                for (int i = 0; i < 4000; i++) {
                    int k = i - latency;
                    double share = k < 0 ? 1.0 : k < kFade ? oldShare(k, kFade) : 0.0;
                    double in = noiseAt(c, 3000 + i - latency);
                    double expected = in * (share + 3.0 * (1.0 - share));
                    double tolerance = k < 0 || k >= kFade ? 0.0 : 1e-9;
                    ASSERT_NEAR(out[c][static_cast<size_t>(i)], expected, tolerance) << i;
                }
        }
}

INSTANTIATE_TEST_SUITE_P(Latencies, TerminalFadeTest, testing::Values(0, 1, 392));

TEST(TerminalTest, aChangeDuringAFadeStartsTheNextOneWithTheLatestValue) {
    CGraph g;
    g.signal = one;
    g.build({delay("d", 0, {{"is-smooth-update", "true"}})});
    g.setInput(1);
    g.run(1000);
    g.set(kGain, 0, 0, 2.0);
    g.run(48, {48});
    g.set(kGain, 0, 0, 9.0);
    g.run(48, {48});
    g.set(kGain, 0, 0, 4.0);
    CTestDelayModule::builds = 0;
    Channels out = g.run(1500, {48});
    EXPECT_EQ(CTestDelayModule::builds, 1);
    // The first fade ends at 480; its end is noticed a block or two later.
    size_t level = 480 - 96;
    while (out[0][level] == 2.0) level++;
    EXPECT_LE(level, 480u - 96 + 2 * 48 + 1);
    for (size_t k = 0; k < 480; k++) {
        double share = oldShare(static_cast<int>(k), kFade);
        ASSERT_NEAR(out[0][level - 1 + k], 2.0 * share + 4.0 * (1.0 - share), 1e-9);
    }
    EXPECT_EQ(out[0].back(), 4.0);
}

TEST(TerminalTest, noStepOfAFadeIsLargerThanTheLawGives) {
    CGraph g;
    g.signal = one;
    g.build({delay("d", 0, {{"is-smooth-update", "true"}})});
    g.setInput(1);
    g.run(700);
    double last = 1.0;
    double limit =
        4.0 * std::numbers::pi / 2.0 / kFade * 1.0001; // slope of the law for a step of 4
    for (int i = 0; i < 200; i++) {
        if (i % 3 == 0) g.set(kGain, 0, 0, i % 2 ? 5.0 : 1.0);
        Channels out = g.run(37 + i % 5, {41});
        for (double sample : out[0]) {
            ASSERT_LE(std::abs(sample - last), limit);
            last = sample;
        }
    }
}

TEST(TerminalTest, withoutSmoothUpdatesAChangeActsAtTheNextBlock) {
    CGraph g;
    g.signal = one;
    g.build({delay("d", 0)});
    g.setInput(1);
    g.run(100);
    g.set(kGain, 0, 0, 2.0);
    EXPECT_EQ(g.run(10)[0], Samples(10, 2.0));
}

TEST(TerminalTest, anAllocationAloneCanAskForASmoothUpdate) {
    CGraph g;
    g.signal = one;
    g.build({process("test:delay", "d", {{"xfade-length", "0.01"}},
                     {param("gain", "1"), alloc(0, "gain", {{"is-smooth-update", "true"}})})});
    g.setInput(1);
    g.run(100);
    g.set(kGain, 0, 0, 2.0);
    EXPECT_NEAR(g.run(1000)[0][240], 1.5, 1e-9);
}

TEST(TerminalTest, aNewSampleRateEndsAFadeAtOnce) {
    CGraph g;
    g.signal = one;
    g.build({delay("d", 0, {{"is-smooth-update", "true"}})});
    g.setInput(1);
    g.run(700);
    g.set(kGain, 0, 0, 2.0);
    g.run(100, {50});
    g.setInput(1, 96000.0);
    EXPECT_EQ(g.run(100, {50})[0], Samples(100, 2.0));
}

TEST(TerminalTest, aMissingAllocationReadsAsTheDefault) {
    CGraph g;
    g.signal = one;
    g.build({process("test:delay", "d")});
    g.setInput(1);
    EXPECT_EQ(g.run(10)[0].back(), 1.0);
}

} // namespace
