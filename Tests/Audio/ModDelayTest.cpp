#include "Audio/CDSPModDelay.h"
#include "GraphFixture.h"

#include <limits>

using namespace lum;

namespace {

constexpr int kFade = 720; // samples

Samples runDelay(CDSPModDelay& line, const Samples& in, const std::vector<int>& lengths,
                 bool isInPlace = false) {
    Samples out(in.size());
    size_t at = 0;
    for (size_t i = 0; at < in.size(); i++) {
        size_t count = std::min(static_cast<size_t>(lengths[i % lengths.size()]), in.size() - at);
        Samples block(in.begin() + static_cast<long>(at),
                      in.begin() + static_cast<long>(at + count));
        if (isInPlace)
            line.process(block.data(), block.data(), static_cast<int>(count));
        else
            line.process(block.data(), out.data() + at, static_cast<int>(count));
        if (isInPlace) std::copy(block.begin(), block.end(), out.begin() + static_cast<long>(at));
        at += count;
    }
    return out;
}

Samples noise(int count, int from = 0) {
    Samples samples;
    for (int i = 0; i < count; i++) samples.push_back(noiseAt(0, from + i));
    return samples;
}

TEST(ModDelayTest, anyLengthAndSplitDelaysExactly) {
    Samples in = noise(6000);
    for (int length : {0, 1, 255, 256, 257, 392, 768, 769, 1023, 1024, 1279, 3000})
        for (bool isFill : {false, true})
            for (const std::vector<int>& split :
                 {std::vector<int>{6000}, {1}, {7, 64, 500}, {513, 0, 1000}}) {
                CSampleBlockPool pool;
                CDSPModDelay line(pool, length, kFade, isFill);
                Samples out = runDelay(line, in, split, length % 2 == 0);
                for (int i = 0; i < 6000; i++) {
                    double early = isFill ? in[0] : 0.0;
                    ASSERT_EQ(out[static_cast<size_t>(i)],
                              i < length ? early : in[static_cast<size_t>(i - length)])
                        << length << " at " << i;
                }
            }
}

TEST(ModDelayTest, aChangedLengthCrossesOverByTheLawWithItsWholeHistory) {
    for (std::pair<int, int> change :
         {std::pair{0, 392}, {392, 0}, {100, 5000}, {5000, 100}, {1279, 703}}) {
        const int from = change.first, to = change.second; // samples
        CSampleBlockPool pool;
        CDSPModDelay line(pool, from, kFade, false);
        Samples in = noise(16000);
        Samples head(in.begin(), in.begin() + 7333);
        Samples tail(in.begin() + 7333, in.end());
        runDelay(line, head, {512});
        line.setDelay(to);
        Samples out = runDelay(line, tail, {100, 1, 300});
        // A line only remembers what its old length needed, to the next ring block.
        int known = (1024 + from + 255) / 1024 * 1024 - 256;
        auto read = [&](int i, int back) {
            int at = 7333 + i - back;
            return back > from && at < 7333 - known ? -1.0 : in[static_cast<size_t>(at)];
        };
        for (int i = 0; i < 8667; i++) {
            double fresh = read(i, to);
            if (fresh == -1.0) continue;
            double share = i < kFade ? oldShare(i, kFade) : 0.0;
            double expected = share * read(i, from) + (1.0 - share) * fresh;
            ASSERT_NEAR(out[static_cast<size_t>(i)], expected, 1e-9)
                << from << "-" << to << " " << i;
        }
        EXPECT_EQ(line.getDelay(), to);
        EXPECT_FALSE(line.isFading());
    }
}

TEST(ModDelayTest, aChangeDuringAFadeWaitsForItsEnd) {
    CSampleBlockPool pool;
    CDSPModDelay line(pool, 10, kFade, false);
    Samples in = noise(8000);
    runDelay(line, {in.begin(), in.begin() + 3000}, {500});
    line.setDelay(300);
    runDelay(line, {in.begin() + 3000, in.begin() + 3100}, {100});
    line.setDelay(20);
    Samples out = runDelay(line, {in.begin() + 3100, in.end()}, {333});
    // First fade 3000..3719 to 300, second 3720..4439 to 20.
    EXPECT_NEAR(out[620], in[3720 - 300], 1e-9);
    EXPECT_NEAR(out[620 + 360], 0.5 * (in[4080 - 300] + in[4080 - 20]), 1e-9);
    for (size_t i = 1340; i < out.size(); i++) ASSERT_EQ(out[i], in[3100 + i - 20]);
}

TEST(ModDelayTest, resetForgetsThePastAndTakesTheLengthAskedForAtOnce) {
    CSampleBlockPool pool;
    CDSPModDelay line(pool, 50, kFade, true);
    runDelay(line, noise(2000), {512});
    line.setDelay(20);
    line.reset();
    EXPECT_EQ(pool.getBlocksOut(), 0);
    Samples out = runDelay(line, Samples(40, 0.5), {40});
    EXPECT_EQ(out, Samples(40, 0.5));
}

TEST(ModDelayTest, aBadFirstSampleDoesNotFillTheLine) {
    CSampleBlockPool pool;
    CDSPModDelay line(pool, 10, kFade, true);
    Samples in = noise(4000);
    in[0] = std::numeric_limits<double>::quiet_NaN();
    const Samples first = runDelay(line, in, {500});
    for (size_t i = 0; i < first.size(); i++) ASSERT_EQ(std::isfinite(first[i]), i != 10) << i;
    line.setDelay(5000); // the slots that it grows by are filled as well
    for (double value : runDelay(line, noise(4000), {500})) ASSERT_TRUE(std::isfinite(value));
}

} // namespace
