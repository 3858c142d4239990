#include "GraphFixture.h"

using namespace lum;

namespace {

TEST(RouterTest, inputsGoToTheirInternalChannelsAndSharedOnesAreAveraged) {
    struct CCase {
        const char* routing;
        std::map<int, std::vector<int>> sources; // by internal channel
    };
    const CCase cases[] = {
        {"1,2,0,0,0,0,0,0", {{0, {0}}, {1, {1}}}},
        {"2,1", {{0, {1}}, {1, {0}}}},
        {"3,3,3,0,16,3,3,3", {{2, {0, 1, 2, 5, 6, 7}}, {15, {4}}}},
        {"1,1,1", {{0, {0, 1, 2}}}},
        {"0,0,0,0,0,0,0,0", {}},
    };
    for (const CCase& c : cases) {
        CGraph g;
        g.build({router("in", false, c.routing, "0")});
        g.setInput(8);
        Channels out = g.run(64, {10});
        if (c.sources.empty()) {
            EXPECT_EQ(out, (Channels{{0, Samples(64, 0.0)}}));
        }
        for (const auto& [channel, sources] : c.sources)
            for (int i = 0; i < 64; i++) {
                double sum = 0.0;
                for (int source : sources) sum += noiseAt(source, i);
                ASSERT_NEAR(out[channel][static_cast<size_t>(i)],
                            sum / static_cast<double>(sources.size()), 1e-15);
            }
        EXPECT_EQ(out.size(), std::max<size_t>(c.sources.size(), 1));
    }
}

TEST(RouterTest, outputsTakeTheInternalChannelTheyAskFor) {
    CGraph g;
    g.build({router("in", false, "1,2,3", "0,0,0"), router("out", true, "3,0,1,9,1", "0")});
    g.setInput(3);
    Channels out = g.run(64);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[0][9], noiseAt(2, 9));
    EXPECT_EQ(out[2][9], noiseAt(0, 9));
    EXPECT_EQ(out[4][9], noiseAt(0, 9));
    g.set("plugin.main.out.routing", 0, 0, 2.0);
    EXPECT_EQ(g.run(64)[0][9], noiseAt(1, 73));
}

TEST(RouterTest, groupsFollowTheInternalChannelAndAreCounted) {
    CGraph g;
    g.build({router("in", false, "1,2,3,4,4", "0,2,2,2", "plugin.main.counts"),
             param("counts", "2", {{"is-single-element", "true"}})});
    g.setInput(5);
    g.run(10);
    CAudioParam& counts = g.collector->getParam("plugin.main.counts");
    EXPECT_EQ(counts.readValue(0, 0), 2.0); // nothing yet: a control thread writes
    g.writes.drain();
    EXPECT_EQ(counts.readValue(0, 0), 1.0);
    EXPECT_EQ(counts.readValue(1, 0), 0.0);
    EXPECT_EQ(counts.readValue(2, 0), 3.0);
    g.set("plugin.main.in.routing", 0, 0, 0.0);
    g.run(10);
    g.writes.drain();
    EXPECT_EQ(counts.readValue(0, 0), 0.0);
    EXPECT_TRUE(g.writes.isEmpty());
}

} // namespace
