#include "Audio/Processes/CNoiseFloor.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using namespace lum;

namespace {

TEST(NoiseFloorTest, theSequenceFollowsTheRecurrence) {
    // The recurrence by hand for seed 1, with 128-bit free arithmetic.
    uint64_t a = 0, b = 0, c = 0, last = 0;
    auto rest = [&](uint64_t x) {
        b = b + x + 0x5555555555555555u;
        uint64_t r = (x >> 32) | (x << 32);
        c = c + r + 0xAAAAAAAAAAAAAAAAu;
        a = x ^ c;
        last = r ^ b;
    };
    rest(1);
    for (int i = 0; i < 4; i++) rest((2 * b + 1) * a);
    CNoiseFloor noise(1);
    for (int i = 0; i < 100; i++) {
        rest((2 * b + 1) * a);
        double samples[4];
        noise.fill(samples, 4);
        for (int q = 0; q < 4; q++) {
            double quarter = static_cast<double>((last >> (16 * q)) & 0xFFFF);
            ASSERT_EQ(samples[q], std::ldexp(quarter, -57) - std::ldexp(1.0, -42));
        }
    }
}

TEST(NoiseFloorTest, staysInBoundsWithoutOffsetAndEachGeneratorDiffers) {
    CNoiseFloor one, other;
    std::vector<double> a(40000), b(40000);
    one.fill(a.data(), 40000);
    other.fill(b.data(), 40000);
    double sum = 0.0;
    for (double sample : a) {
        ASSERT_GE(sample, -0x1p-42);
        ASSERT_LT(sample, 0x1p-42);
        sum += sample;
    }
    EXPECT_LT(std::abs(sum / 40000), 0x1p-42 / 50); // about ten standard deviations
    EXPECT_NE(a, b);
}

TEST(NoiseFloorTest, anySplitGivesTheSameSequence) {
    CNoiseFloor whole(7), parts(7);
    double a[1000], b[1000];
    whole.fill(a, 1000);
    for (int at = 0, n = 1; at < 1000; at += n, n = n % 11 + 1) {
        n = std::min(n, 1000 - at);
        parts.fill(b + at, n);
    }
    for (int i = 0; i < 1000; i++) ASSERT_EQ(a[i], b[i]);
}

} // namespace
