#include "GraphFixture.h"

using namespace lum;

namespace {

CNode coder(const char* name, const char* mode, const char* pairs) {
    return process("audio:modMSCoder", name, {},
                   {param("pairs", pairs, kSingleGroup), param("mode", mode, kSingleGroup),
                    param("bypass", "0", kSingleGroup), alloc(0, "pairs", kAllElements),
                    alloc(1, "mode"), alloc(2, "bypass")});
}

TEST(MSCoderTest, pairsAreCodedAndTheRestPassesUnchanged) {
    for (const char* grouping : {"0", "3,1,0,2,0,1,2,3"}) {
        CGraph g;
        // 0 and 4 are a pair, 1 and 2 another one; 6 is alone; 7 is a third of the first pair.
        g.build({router("in", false, "1,2,3,4,5,6,7,8", grouping),
                 coder("enc", "0", "1,2,2,0,1,0,3,1")});
        g.setInput(8);
        Channels out = g.run(100, {33});
        for (auto [a, b] : {std::pair{0, 4}, {1, 2}})
            for (int i = 0; i < 100; i++) {
                size_t at = static_cast<size_t>(i);
                ASSERT_EQ(out[a][at], (noiseAt(a, i) + noiseAt(b, i)) * 0.5);
                ASSERT_EQ(out[b][at], (noiseAt(a, i) - noiseAt(b, i)) * 0.5);
            }
        for (int c : {3, 5, 6, 7}) EXPECT_EQ(out[c][50], noiseAt(c, 50));
    }
}

TEST(MSCoderTest, aDecoderUndoesAnEncoderAcrossGroups) {
    CGraph g;
    g.build({router("in", false, "1,2,3,4", "0,1,0,1"), coder("enc", "0", "1,1,2,2"),
             process("test:delay", "d", {{"delay", "20"}, {"is-stacked", "true"}},
                     {param("gain", "1"), alloc(0, "gain")}),
             coder("dec", "1", "1,1,2,2")});
    g.setInput(4);
    Channels out = g.run(500);
    for (int c = 0; c < 4; c++)
        for (int i = 20; i < 500; i++)
            ASSERT_NEAR(out[c][static_cast<size_t>(i)], noiseAt(c, i - 20), 1e-15);
}

TEST(MSCoderTest, bypassAndPairsActAtTheNextBlock) {
    CGraph g;
    g.build({coder("enc", "0", "1,1")});
    g.setInput(2);
    double mid = (noiseAt(0, 5) + noiseAt(1, 5)) * 0.5;
    EXPECT_EQ(g.run(10)[0][5], mid);
    g.set("plugin.main.enc.bypass", 0, 0, 1.0);
    EXPECT_EQ(g.run(10)[0][5], noiseAt(0, 15));
    g.set("plugin.main.enc.bypass", 0, 0, 0.0);
    g.set("plugin.main.enc.pairs", 0, 1, 2.0);
    EXPECT_EQ(g.run(10)[0][5], noiseAt(0, 25));
}

} // namespace
