#include "Audio/LevelFixture.h"
#include "Audio/Processes/CDSPConvolver.h"
#include "Audio/Processes/CDSPDirectFIR.h"
#include "Audio/Processes/CKernelPartitions.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <utility>
#include <vector>

using namespace lum;

namespace {

using Samples = std::vector<double>;

Samples noise(size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    Samples samples(count);
    for (double& sample : samples) sample = uniform(random);
    return samples;
}

/// Direct convolution with the constant past of the first sample, `delay` samples late.
Samples slowConvolution(const Samples& x, const Samples& kernel, int delay) {
    Samples y(x.size());
    for (size_t n = 0; n < x.size(); n++) {
        long double sum = 0.0L;
        for (size_t k = 0; k < kernel.size(); k++) {
            const ptrdiff_t at = static_cast<ptrdiff_t>(n) - delay - static_cast<ptrdiff_t>(k);
            sum += static_cast<long double>(kernel[k]) *
                   static_cast<long double>(x[at < 0 ? 0 : static_cast<size_t>(at)]);
        }
        y[n] = static_cast<double>(sum);
    }
    return y;
}

double distance(const Samples& a, const Samples& b) {
    double peak = 0.0;
    for (size_t i = 0; i < a.size(); i++) peak = std::max(peak, std::abs(a[i] - b[i]));
    return peak;
}

template <class Filter>
Samples run(Filter& filter, const Samples& x, const std::vector<int>& sizes) {
    Samples y(x.size());
    size_t at = 0;
    for (size_t i = 0; at < x.size(); i++) {
        const size_t count = std::min(static_cast<size_t>(sizes[i % sizes.size()]), x.size() - at);
        filter.process(x.data() + at, y.data() + at, static_cast<int>(count));
        at += count;
    }
    return y;
}

class ConvolverTest : public LevelTest {
protected:
    CSampleBlockPool pool;
};

} // namespace

TEST_P(ConvolverTest, outputIsTheDelayedConvolution) {
    struct {
        int minBlock;
        size_t length;
    } const rows[] = {{16, 1},     {16, 16},   {16, 700},  {128, 529},
                      {128, 2303}, {64, 1151}, {256, 100}, {16384, 529}};
    for (const auto& row : rows) {
        const Samples kernel = noise(row.length, 1),
                      x = noise(row.minBlock > 1000 ? 17500 : 6000, 2);
        CDSPConvolver convolver(pool, row.minBlock, kernel.data(), static_cast<int>(row.length));
        const Samples y = run(convolver, x, {512});
        const double scale = std::sqrt(static_cast<double>(row.length));
        EXPECT_LT(distance(y, slowConvolution(x, kernel, row.minBlock)), 4e-15 * scale)
            << row.length;
    }
}

TEST_P(ConvolverTest, anyBlockSplitGivesTheSameOutput) {
    const Samples kernel = noise(2303, 3), x = noise(12000, 4);
    CDSPConvolver whole(pool, 128, kernel.data(), 2303);
    EXPECT_EQ(whole.getStageCount(), 2);
    const Samples want = run(whole, x, {5000});
    for (const std::vector<int>& sizes :
         {std::vector{1}, {7}, {64}, {500}, {513}, {0, 3, 0, 5000, 1, 128, 127}}) {
        CDSPConvolver split(pool, 128, kernel.data(), 2303);
        EXPECT_EQ(run(split, x, sizes), want) << sizes[0];
    }
}

TEST_P(ConvolverTest, aConstantStartsAtItsFinalLevel) {
    for (size_t length : {529u, 2303u}) {
        const Samples kernel = noise(length, 5), x(3000, 0.7);
        double gain = 0.0;
        for (double tap : kernel) gain += tap;
        CDSPConvolver convolver(pool, 128, kernel.data(), static_cast<int>(length));
        for (double value : run(convolver, x, {100})) ASSERT_NEAR(value, 0.7 * gain, 1e-12);
        // After a reset the next first sample sets the level anew, whatever came before.
        run(convolver, noise(777, 6), {100});
        convolver.requestReset();
        for (double value : run(convolver, x, {100})) ASSERT_NEAR(value, 0.7 * gain, 1e-12);
    }
}

/// A first sample that is no number, or too large to be transformed, is forgotten like any other:
/// when every partition has seen it, the blocks are those of a convolver that never met it. So are
/// those of a successor that took over the past.
TEST_P(ConvolverTest, aBadFirstSampleIsForgotten) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct {
        int minBlock;
        size_t length;
    } const rows[] = {{16, 1},     {16, 16},     {16, 40},    {32, 100},   {64, 200},
                      {128, 529},  {256, 300},   {512, 1500}, {1024, 900}, {2048, 2500},
                      {4096, 100}, {8192, 9000}, {16384, 20}, {128, 4233}};
    for (const auto& row : rows) {
        const Samples kernel = noise(row.length, 12), other = noise(row.length, 13);
        CKernelPartitions shared, sharedOther;
        shared.fill(pool, row.minBlock, kernel.data(), static_cast<int>(row.length));
        sharedOther.fill(pool, row.minBlock, other.data(), static_cast<int>(row.length));
        const CStagePartitions& last = shared.getStages().back();
        const auto clean = static_cast<size_t>((last.partitions + 2) * last.block);
        const auto end = clean + 2 * static_cast<size_t>(last.block);
        for (double bad : {kNan, kInfinity, -kInfinity, std::numeric_limits<double>::max()}) {
            Samples x = noise(end, 14), y(end), z(end);
            const double good = std::exchange(x[0], bad);
            CDSPConvolver convolver(pool, shared), successor(pool, sharedOther);
            convolver.process(x.data(), y.data(), static_cast<int>(clean) - 3);
            successor.takeHistory(convolver);
            const auto rest = static_cast<int>(end - clean) + 3;
            convolver.process(x.data() + clean - 3, y.data() + clean - 3, rest);
            successor.process(x.data() + clean - 3, z.data() + clean - 3, rest);
            x[0] = good;
            CDSPConvolver wanted(pool, shared), wantedOther(pool, sharedOther);
            const Samples want = run(wanted, x, {512}), wantOther = run(wantedOther, x, {512});
            for (size_t i = clean; i < end; i++) {
                ASSERT_EQ(y[i], want[i]) << row.minBlock << ", " << bad << ", sample " << i;
                ASSERT_EQ(z[i], wantOther[i]) << row.minBlock << ", " << bad << ", sample " << i;
            }
        }
    }
}

TEST_P(ConvolverTest, channelsWithOneKernelDoNotDisturbEachOther) {
    const Samples kernel = noise(1151, 7), left = noise(4000, 8), right = noise(4000, 9);
    CKernelPartitions shared;
    shared.fill(pool, 128, kernel.data(), 1151);
    CDSPConvolver a(pool, shared), b(pool, shared), aloneA(pool, shared), aloneB(pool, shared);
    Samples outA(4000), outB(4000);
    for (size_t at = 0; at < 4000; at += 50) {
        a.process(left.data() + at, outA.data() + at, 50);
        b.process(right.data() + at, outB.data() + at, 50);
    }
    EXPECT_EQ(outA, run(aloneA, left, {4000}));
    EXPECT_EQ(outB, run(aloneB, right, {4000}));
}

TEST_P(ConvolverTest, directFilterHasNoDelayAndAnyLength) {
    for (int length : {1, 3, 16, 63, 64}) {
        const Samples kernel = noise(static_cast<size_t>(length), 10), x = noise(500, 11);
        CDSPDirectFIR filter(pool, kernel.data(), length);
        Samples y(x.size(), 5.0);
        filter.process(x.data(), y.data(), 200, CDSPDirectFIR::Output::Copy);
        filter.process(x.data(), y.data(), 0, CDSPDirectFIR::Output::Copy);
        filter.process(x.data() + 200, y.data() + 200, 300, CDSPDirectFIR::Output::Add);
        for (size_t i = 200; i < y.size(); i++) y[i] -= 5.0;
        EXPECT_LT(distance(y, slowConvolution(x, kernel, 0)), 1e-13) << length;
        // What was no number at the start is out of it after as many samples as there are taps.
        filter.requestReset();
        Samples bad = x, z(x.size());
        bad[0] = std::numeric_limits<double>::quiet_NaN();
        filter.process(bad.data(), z.data(), 500, CDSPDirectFIR::Output::Copy);
        for (size_t i = static_cast<size_t>(length); i < z.size(); i++)
            ASSERT_TRUE(std::isfinite(z[i])) << length << ", sample " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(everyInstructionSet, ConvolverTest, testing::ValuesIn(kAllLevels),
                         [](const auto& level) { return levelName(level.param); });
