#include "GraphFixture.h"

using namespace lum;

namespace {

const CNode kNode = process("audio:modNode", "node", {{"bypass-state-id", "-1"}});

/// A dry path beside a delayed one, which meet in a node.
std::vector<CNode> twoPaths(int samples, Attrs endAttrs = {}) {
    return {delay("wet", samples), process("audio:modNode", "end", endAttrs),
            linkOf("*", "wet"),    linkOf("wet", "end"),
            linkOf("*", "end"),    linkOf("end", "*")};
}

TEST(BlockProcessingTest, pathsOfDifferentLatencyMeetAligned) {
    for (int samples : {1, 100, 1500}) {
        CGraph g;
        g.build(twoPaths(samples), {});
        g.setInput(2);
        Channels out = g.run(4000, {512, 3});
        EXPECT_EQ(g.env->latency, samples);
        for (int c = 0; c < 2; c++)
            for (int i = 0; i < 4000; i++)
                ASSERT_EQ(out[c][static_cast<size_t>(i)],
                          i < samples ? 0.0 : 2.0 * noiseAt(c, i - samples));
    }
}

TEST(BlockProcessingTest, theFillModeOfADelayIsItsFirstSample) {
    CGraph g;
    g.signal = [](int, int) { return 0.5; };
    g.build(twoPaths(100, {{"is-comp-input", "true"}}), {});
    g.setInput(1);
    Channels out = g.run(200);
    EXPECT_EQ(out[0][50], 0.5); // the dry path alone; the wet one is cold
    EXPECT_EQ(out[0][150], 1.0);
}

TEST(BlockProcessingTest, anySplitGivesTheSameBits) {
    auto chain = [] {
        return std::vector<CNode>{
            router("in", false, "1,2,2", "0,1"),
            kNode,
            delay("a", 37),
            process("audio:modGain", "g", {{"is-stacked", "true"}},
                    {param("gain", "0.7"), alloc(0, "gain"), param("mute", "0;1"), alloc(1, "mute"),
                     param("inv", "0"), alloc(2, "inv")}),
            delay("end", 5),
            linkOf("node", "end")};
    };
    Channels reference;
    for (const std::vector<int>& split :
         {std::vector<int>{12000}, {1}, {7}, {64}, {500}, {513}, {5000}, {0, 1, 999, 64, 0, 3}}) {
        CGraph g;
        g.build(chain());
        g.setInput(3);
        Channels out = g.run(12000, split);
        out.erase(1); // the muted group: a generator of its own in each run
        if (reference.empty()) reference = out;
        ASSERT_EQ(out, reference) << split[0];
        EXPECT_EQ(g.pool->getBlocksOut() > 0, true); // the rings of the delays
        g.main->reset();
        EXPECT_EQ(g.pool->getBlocksOut(), 0);
    }
}

TEST(BlockProcessingTest, aLatencyThatGrowsMovesTheDryPathByAFade) {
    CGraph g;
    g.build({delay("wet", 100, {{"bypass-state-id", "3"}}), process("audio:modNode", "end"),
             param("off", "1", kSingle), delay("other", 0), linkOf("*", "other"),
             linkOf("other", "end"), linkOf("*", "wet"), linkOf("wet", "end"), linkOf("end", "*"),
             process("audio:process-bypass-state", "s",
                     {{"id", "3"}, {"param", "off"}, {"value", "1"}})},
            {});
    g.signal = [](int, int) { return 1.0; };
    g.setInput(1);
    g.run(3000, {512});
    g.set("plugin.main.off", 0, 0, 0.0);
    g.set("plugin.main.wet.gain", 0, 0, 0.0);
    Channels out = g.run(2000, {100});
    for (size_t i = 0; i < 2000;
         i++) { // over 720 samples from 1 to what was never written, and back
        double share = i < 720 ? oldShare(static_cast<int>(i), 720) : 0.0;
        ASSERT_NEAR(out[0][i], share + (1.0 - share) * (i < 100 ? 0.0 : 1.0), 1e-9) << i;
    }
    EXPECT_EQ(g.env->latency, 100);
}

TEST(BlockProcessingTest, aNewSampleRateRunsThroughTheGraph) {
    CGraph g;
    g.build(twoPaths(100), {});
    g.setInput(2, 44100.0);
    g.run(1000);
    g.setInput(2, 96000.0);
    Channels out = g.run(2000);
    EXPECT_EQ(g.output->getSampleRate(), 96000.0);
    EXPECT_EQ(out[0][1500], 2.0 * noiseAt(0, 2400));
}

TEST(BlockProcessingTest, channelsComeAndGoWithTheInputFormat) {
    CGraph g;
    g.build(twoPaths(60), {});
    for (int channels : {2, 8, 1, 5}) {
        g.setInput(channels);
        Channels out = g.run(3000);
        EXPECT_EQ(static_cast<int>(out.size()), channels);
        for (auto& [c, samples] : out)
            EXPECT_EQ(samples[2000], 2.0 * noiseAt(c, g.position - 1000 - 60));
    }
}

TEST(BlockProcessingTest, blocksPassThroughANeutralChainWithoutACopy) {
    CGraph g;
    g.build({router("in", false, "1,2", "0,0"), kNode,
             process("audio:modGain", "g", {}, {param("gain", "1"), alloc(0, "gain")}),
             router("out", true, "1,2", "0,0")});
    g.setInput(1);
    g.run(100);
    CSampleBlockRef block = g.pool->takeZeroed(64);
    CSampleBlock* sent = block.get();
    g.main->feedExternal(0, 0, std::move(block), 64);
    g.main->process();
    g.output->process();
    EXPECT_EQ(g.output->inputSlots(0)[0].block.get(), sent);
    EXPECT_FALSE(sent->isShared());
    g.output->releaseInputs();
}

TEST(BlockProcessingTest, aBlockOfNoFramesTouchesNothing) {
    CGraph g;
    g.build(twoPaths(100), {});
    g.setInput(1);
    g.run(500);
    Channels none;
    g.runBlock(0, none);
    EXPECT_EQ(g.run(500, {250})[0][200], 2.0 * noiseAt(0, 600));
}

TEST(SampleBlockPoolTest, whatCameBackServesItsOwnSizesAgain) {
    CSampleBlockPool pool;
    CSampleBlock* seen = pool.take(512).get(); // back at once
    CSampleBlockRef small = pool.take(3);      // lengths of a block share one list
    EXPECT_EQ(small.get(), seen);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(small.samples()) % 16, 0u);
    CSampleBlockRef shared = small;
    EXPECT_TRUE(shared->isShared());
    shared.reset();
    small.reset();
    EXPECT_EQ(pool.getBlocksOut(), 0);
    seen = pool.take(1300).get();
    EXPECT_NE(pool.take(1200).get(), seen); // a longer one is not lent
    EXPECT_EQ(pool.take(1300).get(), seen);
    seen = pool.take(9000).get();
    EXPECT_EQ(pool.take(8500).get(), seen);
    EXPECT_GE(pool.take(20000)->capacity(), 20000); // the entry does not suffice and is replaced
}

} // namespace
