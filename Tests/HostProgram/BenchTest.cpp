#include "Host/BlockTimes.h"
#include "HostProgram/HostFixture.h"

namespace lum::host {

namespace {

/// A block that is slow by its own work is found; what the machine adds once or twice is not.
TEST(BlockTimes, tellTheWorkFromTheWeather) {
    constexpr int kBlocks = 16;
    constexpr int kPlayings = 9;
    BlockTimes times(kBlocks);
    for (int playing = 0; playing < kPlayings; ++playing) {
        times.beginPlaying();
        for (int block = 0; block < kBlocks; ++block) {
            const double own = block == 5 ? 4.0 : 2.0;
            const bool isHit = (playing * kBlocks + block) % 7 == 3;
            times.add(own + (isHit ? 1000.0 : 0.0), isHit && playing % 2 == 0);
        }
    }
    const BlockStatistics statistics = times.statistics();
    EXPECT_DOUBLE_EQ(statistics.mean, 2.0 + 2.0 / kBlocks);
    EXPECT_EQ(statistics.median, 2.0);
    EXPECT_EQ(statistics.worst, 4.0);
    EXPECT_GE(statistics.worstUndisturbed, 1000.0);
    EXPECT_EQ(statistics.playings, 9U);
}

TEST_F(HostFixture, theSecondSideOfABenchIsAsTheFirstButForWhatIsSaid) {
    const std::string bench = "bench --json --seconds 0.02 --plugin '" LUM_TEST_PLUGIN "' ";
    struct Case {
        const char* options;
        const char* words; // of the second side
    };
    constexpr Case kCases[] = {
        {"--block 64 --against-bits 64", "\"block\": 64, \"channels\": 2, \"bits\": 64"},
        {"--channels 1 --against-block 32", "\"block\": 32, \"channels\": 1, \"bits\": 32"},
        {"--rate 96000 --against-input decay --against-cold",
         "\"input\": \"decay\", \"cold\": true, \"latency\": 200"},
        {"--against-set 0=0.25 --against-automate 2", "\"moving\": [\"Gain\", \"Trim\"]"},
    };
    for (const Case& test : kCases) {
        ASSERT_EQ(run(bench + test.options), 0) << printed;
        const auto second = printed.find("{\"plugin\"", printed.find("{\"plugin\"") + 1);
        ASSERT_NE(second, std::string::npos) << printed;
        EXPECT_NE(printed.find(test.words, second), std::string::npos) << printed;
        EXPECT_NE(printed.find("\"ratio\""), std::string::npos);
    }
    ASSERT_EQ(run(bench), 0) << printed;
    EXPECT_EQ(printed.find("\"ratio\""), std::string::npos);
    EXPECT_EQ(run(bench + "--against-set 9=0.5"), 1);
    EXPECT_EQ(run(bench + "--against '" + path("none.so") + "'"), 1);
    ASSERT_EQ(run("bench --lifecycle --plugin '" LUM_PLUGIN "'", "XDG_CONFIG_HOME=/dev/null "), 0);
    for (const char* words : {"instance made", "memory of an instance", "bank's state in"}) {
        EXPECT_NE(printed.find(words), std::string::npos) << printed;
    }
}

} // namespace

} // namespace lum::host
