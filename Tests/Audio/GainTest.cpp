#include "GraphFixture.h"

using namespace lum;

namespace {

CNode gain(Attrs attrs = {}) {
    return process("audio:modGain", "g", attrs,
                   {param("gain", "1"), param("mute", "0"), param("inv", "0"), alloc(0, "gain"),
                    alloc(1, "mute"), alloc(2, "inv")});
}
const CNode kRouter = router("in", false, "1,2,3,4", "0,0,1,1");

TEST(GainTest, elementZeroServesAllChannelsOfItsGroup) {
    for (const char* isStacked : {"false", "true"}) {
        CGraph g;
        g.build({kRouter, gain({{"is-stacked", isStacked}})});
        g.setInput(4);
        g.set("plugin.main.g.gain", 0, 0, 0.5);
        g.set("plugin.main.g.gain", 0, 1, 9.0); // no module reads it
        g.set("plugin.main.g.inv", 1, 0, 1.0);
        Channels out = g.run(100);
        for (int c = 0; c < 4; c++) EXPECT_EQ(out[c][50], noiseAt(c, 50) * (c < 2 ? 0.5 : -1.0));
    }
}

TEST(GainTest, aMutedGroupCarriesTheNoiseFloorAndNoTwoChannelsTheSame) {
    CGraph g;
    g.build({kRouter, gain({{"is-stacked", "true"}})});
    g.setInput(4);
    g.set("plugin.main.g.mute", 1, 0, 1.0);
    Channels out = g.run(1000, {77});
    for (int c : {2, 3})
        for (double sample : out[c]) {
            ASSERT_LE(std::abs(sample), 0x1p-42);
            ASSERT_TRUE(std::isfinite(sample));
        }
    EXPECT_NE(out[2], out[3]);
    EXPECT_NE(out[2], Samples(1000, 0.0));
    EXPECT_EQ(out[0][500], noiseAt(0, 500));
}

TEST(GainTest, aSmoothGainTouchesItsOwnGroupAlone) {
    CGraph g;
    g.build(
        {kRouter,
         gain({{"is-stacked", "true"}, {"is-smooth-update", "true"}, {"xfade-length", "0.015"}})});
    g.setInput(4);
    g.run(500);
    g.set("plugin.main.g.gain", 1, 0, 2.0);
    Channels out = g.run(2000, {64});
    for (int i = 0; i < 2000; i++) {
        size_t at = static_cast<size_t>(i);
        double share = i < 720 ? oldShare(i, 720) : 0.0;
        ASSERT_NEAR(out[2][at], noiseAt(2, 500 + i) * (2.0 - share), 1e-9);
        ASSERT_EQ(out[0][at], noiseAt(0, 500 + i));
    }
}

} // namespace
