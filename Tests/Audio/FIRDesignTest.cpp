#include "Audio/Filters/CAudioFilterFIRSplineGen.h"
#include "Audio/Filters/CBuildThread.h"
#include "Audio/Filters/CDSPFIREQ.h"

#include <chrono>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

using namespace lum;

namespace {

using Real = long double;
using Gains = std::vector<double>;
using Kernel = std::vector<double>;

constexpr int kPrecision = 256;
constexpr double kLength = 0.012; // seconds
constexpr double kLow = 20.0, kHigh = 20000.0;
constexpr Real kPi = std::numbers::pi_v<Real>;

CDSPFIREQ& designAt(double rate) {
    return CDSPFIREQ::get(rate, kLength * rate, kPrecision, kLow, kHigh, true);
}

Kernel makeKernel(CDSPFIREQ& design, const Gains& gains, bool isMinPhase = false) {
    Kernel kernel(static_cast<size_t>(design.getKernelLength()));
    design.makeKernel(gains.data(), kernel.data(), isMinPhase, 0);
    return kernel;
}

/// A lively curve; the seed makes it another one.
Gains wavyGains(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> level(-12.0, 12.0);
    Gains gains(kPrecision);
    double db = 0.0;
    for (double& gain : gains) {
        db += 0.2 * (level(random) - db);
        gain = std::pow(10.0, db / 20.0);
    }
    return gains;
}

/// The same kernel the slow way, sharing nothing with the table: the inverse Fourier integral of
/// the piecewise linear gain, segment by segment in closed form and extended precision, from the
/// frequencies in Hz.
Kernel slowKernel(double rate, const Gains& gains) {
    const Real length = static_cast<Real>(kLength * rate);
    const int half = static_cast<int>(std::ceil(kLength * rate / 2.0));
    std::vector<Real> edges, levels;
    edges.push_back(0.0L);
    levels.push_back(gains.front());
    for (int i = 0; i < kPrecision; i++) {
        const Real hz = kLow * std::pow(static_cast<Real>(kHigh / kLow),
                                        static_cast<Real>(i) / (kPrecision - 1));
        edges.push_back(2.0L * hz / static_cast<Real>(rate));
        levels.push_back(gains[static_cast<size_t>(i)]);
    }
    if (edges.back() < 1.0L) {
        edges.push_back(1.0L);
        levels.push_back(gains.back());
    }
    Kernel kernel(static_cast<size_t>(2 * half - 1));
    for (int m = 0; m < half; m++) {
        Real sum = 0.0L;
        const Real w = kPi * m;
        for (size_t i = 0; i + 1 < edges.size(); i++) {
            const Real a = edges[i], b = edges[i + 1], ga = levels[i], gb = levels[i + 1];
            const Real slope = (gb - ga) / (b - a);
            if (m == 0)
                sum += 0.5L * (ga + gb) * (b - a);
            else
                sum += (gb * std::sin(w * b) - ga * std::sin(w * a)) / w +
                       slope * (std::cos(w * b) - std::cos(w * a)) / (w * w);
        }
        const double tap = static_cast<double>(sum * std::cos(m * kPi / length));
        kernel[static_cast<size_t>(half - 1 + m)] = kernel[static_cast<size_t>(half - 1 - m)] = tap;
    }
    return kernel;
}

double distance(const Kernel& a, const Kernel& b) {
    double peak = 0.0;
    for (size_t i = 0; i < a.size(); i++) peak = std::max(peak, std::abs(a[i] - b[i]));
    return peak;
}

double magnitudeAt(const Kernel& kernel, double hz, double rate) {
    std::complex<double> sum;
    for (size_t i = 0; i < kernel.size(); i++)
        sum += kernel[i] *
               std::polar(1.0, -2.0 * std::numbers::pi * hz / rate * static_cast<double>(i));
    return std::abs(sum);
}

/// Settings as the product has them.
struct CSettingsFixture {
    CSettingsFixture() {
        set("length", kLength);
        set("min-phase", 0.0);
        set("min-freq", kLow);
        set("max-freq", kHigh);
        set("precision", kPrecision);
        set("element-size", 1.0);
        set("element-count", 16.0);
        set("point-count", 16.0);
    }
    void set(const char* name, double value) {
        const auto found = names.find(CString(name));
        if (found != names.end()) {
            values[static_cast<size_t>(found->second)] = value;
            return;
        }
        names[CString(name)] = static_cast<int>(values.size());
        values.push_back(value);
    }
    CFilterGenContext generate(double rate) {
        CFilterGenContext context;
        CAudioFilterFIRSplineGen gen;
        gen.generate(context, rate, view(), pool);
        return context;
    }
    std::vector<double> curve() {
        CSampleBlockRef drawn = CAudioFilterFIRSplineGen::drawCurve(view(), pool);
        return {drawn.samples(), drawn.samples() + kPrecision};
    }
    CFilterGenSettings view() {
        return {names, values.data(), points.data(), static_cast<int>(points.size())};
    }
    CSampleBlockPool pool;
    CMap<CString, int> names;
    std::vector<double> values;
    std::vector<double> points = std::vector<double>(16, 1.0);
};

} // namespace

TEST(FIRDesignTest, kernelsEqualTheIntegralTakenSlowly) {
    for (double rate : {32000.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
        CDSPFIREQ& design = designAt(rate);
        const Gains gains = wavyGains(7);
        // Gains reach 4; the goal is 1e-9, rounding alone stays far below.
        EXPECT_LT(distance(makeKernel(design, gains), slowKernel(rate, gains)), 1e-12) << rate;
    }
}

TEST(FIRDesignTest, gainsOfOneGiveAnImpulse) {
    for (double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
        CDSPFIREQ& design = designAt(rate);
        Kernel impulse(static_cast<size_t>(design.getKernelLength()), 0.0);
        impulse[static_cast<size_t>(design.getHalfLength() - 1)] = 1.0;
        EXPECT_LT(distance(makeKernel(design, Gains(kPrecision, 1.0)), impulse), 1e-14) << rate;
    }
}

TEST(FIRDesignTest, sizesFollowTheUnroundedLength) {
    struct {
        double rate;
        int half;
        int taps;
    } const rows[] = {
        {44100.0, 265, 529}, {48000.0, 288, 575}, {96000.0, 576, 1151}, {192000.0, 1152, 2303}};
    for (const auto& row : rows) {
        EXPECT_EQ(designAt(row.rate).getHalfLength(), row.half);
        EXPECT_EQ(designAt(row.rate).getKernelLength(), row.taps);
    }
}

TEST(FIRDesignTest, equalRequestsShareATableAndAKernel) {
    CDSPFIREQ& design = designAt(44100.0);
    EXPECT_EQ(&design, &designAt(44100.0));
    EXPECT_NE(&design, &designAt(48000.0));
    const Kernel first = makeKernel(design, wavyGains(100));
    const int hits = design.getCacheHits();
    EXPECT_EQ(makeKernel(design, wavyGains(100)), first);
    EXPECT_EQ(design.getCacheHits(), hits + 1);
    for (unsigned i = 0; i < 15; i++) makeKernel(design, wavyGains(200 + i));
    EXPECT_EQ(makeKernel(design, wavyGains(100)), first); // 15 others later it is still there
    EXPECT_EQ(design.getCacheHits(), hits + 2);
    for (unsigned i = 0; i < 16; i++) makeKernel(design, wavyGains(300 + i));
    EXPECT_EQ(makeKernel(design, wavyGains(100)), first); // made anew, the same
    EXPECT_EQ(design.getCacheHits(), hits + 2);
}

// What a kernel's bits are must not depend on the kernel before it, on a helper, or on another
// thread that has the workspace.
TEST(FIRDesignTest, equalGainsGiveEqualBitsWhoeverHelps) {
    Gains moved = wavyGains(1);
    for (size_t i = 100; i < 130; i++) moved[i] *= 1.25; // part of the slices stay as they were
    CDSPFIREQ& fresh = CDSPFIREQ::get(192000.0, 2304.25, kPrecision, kLow, kHigh, true);
    const Kernel want = makeKernel(fresh, moved);
    CDSPFIREQ& design = CDSPFIREQ::get(192000.0, 2304.25, kPrecision, kLow, kHigh + 1e-9, true);
    makeKernel(design, wavyGains(1));
    const Kernel after = makeKernel(design, moved);
    EXPECT_LT(distance(after, want), 1e-12); // the grid differs in its last digits
    for (unsigned i = 0; i < 20; i++) makeKernel(design, wavyGains(400 + i));
    EXPECT_EQ(makeKernel(design, moved), after);

    for (unsigned i = 0; i < 20; i++) makeKernel(design, wavyGains(500 + i));
    {
        CBuildHelperScope helper;
        EXPECT_EQ(makeKernel(design, moved), after);
    }
    std::vector<Kernel> results(4);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            for (unsigned i = 0; i < 30; i++) {
                makeKernel(design, wavyGains(1000 + 40 * t + i));
                makeKernel(design, wavyGains(2000 + i % 20)); // thrashes the cache
            }
            results[t] = makeKernel(design, moved);
        });
    for (std::thread& thread : threads) thread.join();
    for (const Kernel& result : results) EXPECT_EQ(result, after);
}

TEST(FIRDesignTest, minimumPhaseKeepsTheMagnitudeAndComesFirst) {
    CDSPFIREQ& design = designAt(44100.0);
    Gains gains(kPrecision);
    for (size_t i = 0; i < kPrecision; i++)
        gains[i] = 1.5 + std::sin(static_cast<double>(i) * 0.03);
    const Kernel linear = makeKernel(design, gains), minimum = makeKernel(design, gains, true);
    for (double hz : {100.0, 500.0, 1000.0, 4000.0, 9000.0, 15000.0})
        EXPECT_NEAR(
            20.0 * std::log10(magnitudeAt(minimum, hz, 44100.0) / magnitudeAt(linear, hz, 44100.0)),
            0.0, 0.05)
            << hz;
    double early = 0.0, all = 0.0;
    for (size_t i = 0; i < minimum.size(); i++) {
        all += minimum[i] * minimum[i];
        if (i < 20) early += minimum[i] * minimum[i];
    }
    EXPECT_GT(early / all, 0.9);
}

TEST(FIRDesignTest, generatorGivesTheKernelOfItsDrawnCurveAndItsLatency) {
    CSettingsFixture fixture;
    fixture.points[8] = 2.0;
    CFilterGenContext context = fixture.generate(44100.0);
    ASSERT_EQ(context.items.size(), 1u);
    EXPECT_EQ(context.latency, 264);
    const Kernel kernel(context.items[0].kernel.samples(), context.items[0].kernel.samples() + 529);
    EXPECT_LT(distance(kernel, slowKernel(44100.0, fixture.curve())), 1e-12);
    // Band 8 of 16 stands at 20 * 1000^(8/15) Hz, where 12 ms resolve the curve's width.
    EXPECT_NEAR(magnitudeAt(kernel, 20.0 * std::pow(1000.0, 8.0 / 15.0), 44100.0), 2.0, 0.05);
    EXPECT_NEAR(magnitudeAt(kernel, 15000.0, 44100.0), 1.0, 0.001);

    fixture.set("min-phase", 1.0);
    context = fixture.generate(44100.0);
    EXPECT_EQ(context.items.size(), 1u);
    EXPECT_EQ(context.latency, 0);
}

TEST(FIRDesignTest, curvesAddInDecibelsAndMissingElementsAreFlat) {
    CSettingsFixture fixture;
    fixture.points.resize(20);
    for (size_t i = 0; i < 16; i++) fixture.points[i] = 2.0;
    for (size_t i = 16; i < 20; i++) fixture.points[i] = 0.25;
    fixture.set("element-count2", 4.0);
    for (double gain : fixture.curve()) EXPECT_NEAR(gain, 0.5, 1e-12);

    CSettingsFixture half;
    half.points.assign(8, 2.0);
    half.set("element-count", 8.0);
    const std::vector<double> curve = half.curve();
    EXPECT_NEAR(curve[60], 2.0, 1e-6);
    EXPECT_NEAR(curve[200], 1.0, 1e-6);

    CSettingsFixture pairs; // frequency and gain; 632.45 Hz is the middle of the span
    pairs.set("element-size", 2.0);
    pairs.set("element-count", 3.0);
    pairs.points = {20.0, 1.0, 632.4555320336759, 4.0, 20000.0, 1.0};
    EXPECT_NEAR(20.0 * std::log10(pairs.curve()[128] / 4.0), 0.0, 0.05);
}

TEST(FIRDesignTest, missingOrWrongSettingsGiveNoKernel) {
    for (const char* name : {"length", "min-phase", "min-freq", "max-freq", "precision"}) {
        CSettingsFixture fixture;
        fixture.names.erase(CString(name));
        EXPECT_TRUE(fixture.generate(44100.0).items.empty()) << name;
    }
    CSettingsFixture fixture;
    fixture.set("element-size", 3.0);
    EXPECT_TRUE(fixture.generate(44100.0).items.empty());
}

/// Clients write what they like into the parameters. Some of it is held to a size, the rest gives
/// no kernel, and whatever comes out is finite.
TEST(FIRDesignTest, settingsBeyondAllSenseAreHeldOrRefused) {
    const double kNan = std::numeric_limits<double>::quiet_NaN();
    const double kInfinity = std::numeric_limits<double>::infinity();
    struct {
        const char* name;
        double value;
        int kernelLength; // taps at 8 kHz; 0: no kernel
    } const rows[] = {
        {"precision", 1e9, 95},   {"precision", kInfinity, 95}, {"precision", kNan, 0},
        {"precision", -1e18, 0},  {"length", 1e9, 3999},        {"length", kInfinity, 3999},
        {"length", kNan, 0},      {"length", -1.0, 0},          {"min-freq", -1e9, 95},
        {"min-freq", kHigh, 0},   {"min-freq", kNan, 0},        {"max-freq", kInfinity, 95},
        {"max-freq", kNan, 0},    {"point-count", 2e9, 95},     {"point-count", kNan, 95},
        {"element-size", 1e30, 0}};
    for (const auto& row : rows) {
        CSettingsFixture fixture;
        fixture.points[8] = 2.0;
        fixture.set(row.name, row.value);
        const CFilterGenContext context = fixture.generate(8000.0);
        const int length = context.items.empty() ? 0 : context.items[0].length;
        EXPECT_EQ(length, row.kernelLength) << row.name << ", " << row.value;
        for (int i = 0; i < length; i++)
            ASSERT_TRUE(std::isfinite(context.items[0].kernel.samples()[i]))
                << row.name << ", " << row.value << ", tap " << i;
    }
}
