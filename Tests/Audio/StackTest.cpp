#include "GraphFixture.h"

using namespace lum;

namespace {

CNode stacked(int latency, Attrs more = {}) {
    more.push_back({"is-stacked", "true"});
    return delay("d", latency, more);
}
CNode input(const char* routing, const char* grouping) {
    return router("in", false, routing, grouping);
}
CAudioProcessStack& stackOf(CGraph& g) {
    return dynamic_cast<CAudioProcessStack&>(*g.composite().findActive("d"));
}

TEST(StackTest, eachGroupHasAnInstanceWithItsOwnParameters) {
    CGraph g;
    g.build({input("1,2,3,4,5,6,7,8", "0,0,1,1,2,2,3,3"), stacked(9)});
    g.setInput(8);
    for (int group = 0; group < 4; group++) g.set("plugin.main.d.gain", group, 0, group + 2.0);
    Channels out = g.run(500);
    EXPECT_EQ(stackOf(g).getLayerCount(), 4);
    for (int c = 0; c < 8; c++) EXPECT_EQ(out[c][400], (c / 2 + 2.0) * noiseAt(c, 391));
    EXPECT_EQ(stackOf(g).findInstance(2)->getGroupIndex(), 2);
    EXPECT_EQ(stackOf(g).findInstance(2)->getFullName(), "plugin.main.d");
}

TEST(StackTest, aChannelThatMovesMakesAndLeavesLayers) {
    CGraph g;
    g.build({input("1,2", "0,0"), stacked(0)});
    g.setInput(2);
    g.set("plugin.main.d.gain", 1, 0, 5.0);
    g.run(100);
    for (int round = 0; round < 3; round++) {
        g.set("plugin.main.in.grouping", 0, 1, 1.0);
        Channels out = g.run(100);
        EXPECT_EQ(stackOf(g).getLayerCount(), 2);
        EXPECT_EQ(out[0][50], noiseAt(0, g.position - 50));
        EXPECT_EQ(out[1][50], 5.0 * noiseAt(1, g.position - 50));
        g.set("plugin.main.in.grouping", 0, 1, 0.0);
        out = g.run(100);
        EXPECT_EQ(out[1][50], noiseAt(1, g.position - 50));
        EXPECT_EQ(stackOf(g).getLayerCount(), 1);
    }
    EXPECT_EQ(g.pool->getBlocksOut(), 0);
}

TEST(StackTest, aStackedCompositeCarriesItsGroupToItsChildren) {
    CGraph g;
    g.build(
        {input("1,2", "0,1"),
         process("audio:process-def", "c", {{"is-stacked", "true"}, {"is-auto-links", "true"}},
                 {delay("inner", 4), param("curve", "1"),
                  process("audio:param-remap", "r", {{"orig", "inner.gain"}, {"new", "curve"}})})});
    g.setInput(2);
    g.set("plugin.main.c.curve", 1, 0, 7.0);
    Channels out = g.run(300);
    EXPECT_EQ(out[0][200], noiseAt(0, 196));
    EXPECT_EQ(out[1][200], 7.0 * noiseAt(1, 196));
}

TEST(StackTest, theStackParameterSetsTheLengthOfEachChain) {
    CGraph g;
    g.build({input("1,2", "0,1"), stacked(3, {{"stack-param", "^depth"}}), param("depth", "1")});
    g.setInput(2);
    g.set("plugin.main.depth", 1, 0, 3.0);
    for (int round = 0; round < 2; round++) {
        g.run(2000);
        EXPECT_EQ(g.env->latency, 9); // the reader aligns the groups
        g.set("plugin.main.d.gain", 1, 0, 2.0);
        Channels out = g.run(2000);
        EXPECT_EQ(out[0][1000], noiseAt(0, g.position - 1000 - 9));
        EXPECT_EQ(out[1][1000], 8.0 * noiseAt(1, g.position - 1000 - 9));
        g.set("plugin.main.depth", 1, 0, 1.0);
        g.run(2000);
        EXPECT_EQ(g.env->latency, 3);
        out = g.run(2000);
        EXPECT_EQ(out[1][1000], 2.0 * noiseAt(1, g.position - 1000 - 3));
        g.set("plugin.main.depth", 1, 0, 3.0);
    }
}

TEST(StackTest, aChannelStackHasAnInstancePerChannel) {
    CGraph g;
    g.build({input("1,2,3", "0,0,0"),
             stacked(0, {{"is-channel-stack", "true"}, {"is-terminal-whole", "true"}})});
    g.setInput(3);
    EXPECT_EQ(g.run(100)[2][50], noiseAt(2, 50));
    EXPECT_NE(stackOf(g).findInstance(0, 0, 1), stackOf(g).findInstance(0, 0, 2));
    EXPECT_EQ(stackOf(g).findInstance(0), nullptr);
}

} // namespace
