#include "Core/CLog.h"
#include "Core/TempFolder.h"
#include "GraphFixture.h"

using namespace lum;

namespace {

const CNode kInput = router("in", false, "1,2,3,4,5,6,7,8", "0,0,1,1,2,2,3,3");
const CNode kNode = process("audio:modNode", "node", {{"bypass-state-id", "-1"}});
const CNode kNode2 = process("audio:modNode", "node2", {{"bypass-state-id", "-1"}});

CNode bypassState(int id, const char* param, Attrs more = {}) {
    more.push_back({"id", std::to_string(id)});
    more.push_back({"param", param});
    return process("audio:process-bypass-state", "state", more);
}

/// The level of a constant input at the output.
double constantOne(int, int) {
    return 1.0;
}

struct CConstantGraph : CGraph {
    explicit CConstantGraph(std::vector<CNode> children,
                            Attrs attrs = {{"is-auto-links", "true"}}) {
        build(std::move(children), std::move(attrs));
        signal = constantOne;
        setInput(1);
    }
    double level() { return run(4)[0].back(); }
};
const Attrs kNoAutoLinks = {};

TEST(ProcessGraphTest, anEmptyChainPassesTheInputOn) {
    CConstantGraph g(std::vector<CNode>{});
    EXPECT_EQ(g.level(), 1.0);
}

TEST(ProcessGraphTest, nodesThatNobodyReadCostNothing) {
    CConstantGraph g({kNode, kNode2});
    EXPECT_EQ(g.level(), 1.0);
    EXPECT_EQ(g.composite().getRunOrder().ssize(), 0);
}

TEST(ProcessGraphTest, aFollowerOfNodesIsLinkedToWhatFeedsThem) {
    CConstantGraph g({delay("a", 3), kNode, kNode2, delay("b", 4)});
    g.run(10);
    const auto& targets = g.composite().findActive("a")->getTargets();
    bool isDirect = false;
    for (const COutputTarget& target : targets)
        isDirect |= target.process == g.composite().findActive("b");
    EXPECT_TRUE(isDirect);
    EXPECT_EQ(g.env->latency, 7);
}

TEST(ProcessGraphTest, aBypassStateTakesAProcessOutAndBackAtTheNextBlock) {
    CConstantGraph g({delay("a", 0, {{"bypass-state-id", "5"}}), param("off", "0", kSingle),
                      param("scale", "2"), bypassState(5, "off", {{"value", "1"}})});
    g.set("plugin.main.a.gain", 0, 0, 3.0);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(g.level(), 3.0);
        g.set("plugin.main.off", 0, 0, 1.0);
        EXPECT_EQ(g.level(), 1.0);
        EXPECT_FALSE(g.isActive("a"));
        g.set("plugin.main.off", 0, 0, 0.0);
    }
    EXPECT_EQ(g.pool->getBlocksOut(), 0);
}

TEST(ProcessGraphTest, linksThatAreDroppedBeforeTheyHoldCountForNothing) {
    CConstantGraph g({delay("a", 0), kNode, delay("b", 0, {{"bypass-state-id", "5"}}),
                      param("off", "0", kSingle), bypassState(5, "off", {{"value", "1"}})});
    g.set("plugin.main.a.gain", 0, 0, 3.0);
    g.set("plugin.main.b.gain", 0, 0, 2.0);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(g.run(4)[0], Samples(4, 6.0)); // b reads a itself, nobody the node between them
        g.set("plugin.main.off", 0, 0, 1.0);
        EXPECT_EQ(g.run(4)[0], Samples(4, 3.0));
        EXPECT_TRUE(g.isActive("a"));
        EXPECT_FALSE(g.isActive("b"));
        g.set("plugin.main.off", 0, 0, 0.0);
    }
}

TEST(ProcessGraphTest, bypassConditionsMatchValuesAndRanges) {
    struct CCase {
        Attrs attrs;
        double value, andValue;
        bool isTrue;
    };
    const CCase cases[] = {
        {{{"value", "1"}}, 1.05, 0, true},
        {{{"value", "1"}}, 1.2, 0, false},
        {{{"value", "1"}, {"is-inverted", "true"}}, 0, 0, true},
        {{{"range", "[1;2]"}}, 2.004, 0, true}, // within half a step
        {{{"range", "[1;2]"}}, 2.006, 0, false},
        {{{"range", "(1;2]"}}, 1.0, 0, false},
        {{{"range", "(1;*)"}}, 50.0, 0, true},
        {{{"range", "[*;2;1]"}}, 2.4, 0, true},
        {{{"value", "1"}, {"and-param", "second"}, {"and-value", "1"}}, 1, 0, false},
        {{{"value", "1"}, {"and-param", "second"}, {"and-value", "1"}}, 1, 1, true},
        {{{"range", "[1;2]"}, {"and-param", "second"}, {"and-range", "[3;4]"}}, 1, 3.5, true},
        {{{"range", "[1;2]"}, {"and-param", "second"}, {"and-range", "[3;4]"}}, 1, 5, false},
    };
    for (const CCase& c : cases) {
        CConstantGraph g({delay("a", 0, {{"bypass-state-id", "5"}}), param("off", "0", kSingle),
                          param("second", "0", kSingle), bypassState(5, "off", c.attrs)});
        g.set("plugin.main.off", 0, 0, c.value);
        g.set("plugin.main.second", 0, 0, c.andValue);
        g.run(4);
        EXPECT_EQ(!g.isActive("a"), c.isTrue) << c.value << " " << c.andValue;
    }
}

TEST(ProcessGraphTest, anExplicitLinkFeedsAPortBesideTheAutomaticOne) {
    CConstantGraph g(
        {kInput, kNode, delay("a", 3), process("audio:modNode", "sum"), linkOf("node", "a")});
    // The automatic link and the explicit one meet on one channel of port 0: they add.
    EXPECT_EQ(g.run(20)[0].back(), 2.0);
}

TEST(ProcessGraphTest, inputComboModesCombineSourcesOfAChannel) {
    for (auto [mode, expected] : {std::pair{"", 7.0}, {"avg", 3.5}, {"max", 5.0}}) {
        CConstantGraph g({delay("a", 0), delay("b", 0),
                          delay("end", 0, {{"input-combo-mode", mode}}), linkOf("*", "a"),
                          linkOf("*", "b"), linkOf("a", "end"), linkOf("b", "end"),
                          linkOf("end", "*")},
                         kNoAutoLinks);
        g.set("plugin.main.a.gain", 0, 0, 2.0);
        g.set("plugin.main.b.gain", 0, 0, 5.0);
        EXPECT_EQ(g.level(), expected) << mode;
    }
}

TEST(ProcessGraphTest, linksFollowTheStateParameter) {
    CConstantGraph g({delay("a", 0), delay("b", 0), param("which", "0", kSingle),
                      process("test:link-state", "s", {{"param", "which"}}),
                      linkOf("*", "a", {{"state-id", "0"}}), linkOf("a", "*", {{"state-id", "0"}}),
                      linkOf("*", "b", {{"state-id", "1"}}), linkOf("b", "*", {{"state-id", "1"}})},
                     kNoAutoLinks);
    g.set("plugin.main.a.gain", 0, 0, 2.0);
    g.set("plugin.main.b.gain", 0, 0, 3.0);
    EXPECT_EQ(g.level(), 2.0);
    g.set("plugin.main.which", 0, 0, 1.0);
    EXPECT_EQ(g.level(), 3.0);
    EXPECT_FALSE(g.isActive("a"));
    g.set("plugin.main.which", 0, 0, 0.0);
    EXPECT_EQ(g.level(), 2.0);
}

TEST(ProcessGraphTest, aCycleIsLoggedAndTheRestRuns) {
    CTempFolder folder;
    setLogPath(folder / "log");
    CConstantGraph g({delay("a", 0), delay("b", 0), delay("c", 0), linkOf("a", "b"),
                      linkOf("b", "a"), linkOf("*", "c"), linkOf("c", "*")},
                     kNoAutoLinks);
    EXPECT_EQ(g.level(), 1.0);
    setLogPath("");
    EXPECT_NE(folder.get("log").find("plugin.main // process seq err\r\n"), std::string::npos);
}

TEST(ProcessGraphTest, processesThatShareANameStopTheConstruction) {
    CConstantGraph g({delay("same", 0)});
    CErrorResult error = g.composite().addProcess(g.main->getDefinition(), "same");
    EXPECT_EQ(first(error), "Duplicate audio process name 'same'.");
}

TEST(ProcessGraphTest, wrongDefinitionsFailWithTheirMessage) {
    const std::pair<CNode, const char*> cases[] = {
        {linkOf("", "a"), "No 'src' attribute defined."},
        {linkOf("a", ""), "No 'dst' attribute defined."},
        {linkOf("a/x", "b"), "Invalid port in the 'src' attribute value 'a/x' specified."},
        {linkOf("a", "b/-1"), "Invalid port in the 'dst' attribute value 'b/-1' specified."},
        {linkOf("/1", "b"), "Invalid process in the 'src' attribute value '/1' specified."},
        {linkOf("a", "/1"), "Invalid process in the 'dst' attribute value '/1' specified."},
        {linkOf("a", "b", {{"state-id", "-2"}}), "Invalid state identifier '-2' specified."},
        {bypassState(1, ""), "Invalid parameter name specified."},
        {bypassState(1, "x", {{"range", "[2;1]"}}),
         "Invalid 'range' attribute value '[2;1]' specified."},
        {bypassState(1, "x", {{"and-range", "1;2"}}),
         "Invalid 'and-range' attribute value '1;2' specified."},
        {delay("a", 0, {{"stack-index-shift", "-3"}}),
         "Invalid stack index shift value '-3' specified."},
    };
    for (const auto& [node, message] : cases) {
        CGraph g;
        g.load({node});
        EXPECT_EQ(first(g.loadError), message);
    }
}

TEST(ProcessGraphTest, aBandSplitterSaysWhatItMisses) {
    const std::pair<Attrs, const char*> cases[] = {
        {{{"is-multiband", "true"}}, "No 'multiband-count-param' attribute defined."},
        {{{"is-multiband", "true"}, {"multiband-count-param", "n"}},
         "No 'multiband-freq-param' attribute defined."},
    };
    for (const auto& [attrs, message] : cases) {
        CGraph g;
        g.load({delay("a", 0, attrs)});
        CErrorResult error = g.instantiate();
        EXPECT_EQ(first(error), message);
    }
}

} // namespace
