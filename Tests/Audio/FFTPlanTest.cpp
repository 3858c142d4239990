#include "Audio/LevelFixture.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/TransformTables.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
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

double largest(const Samples& a) {
    double peak = 0.0;
    for (double value : a) peak = std::max(peak, std::abs(value));
    return peak;
}

double distance(const Samples& a, const Samples& b) {
    double peak = 0.0;
    for (size_t i = 0; i < b.size(); i++) peak = std::max(peak, std::abs(a[i] - b[i]));
    return peak;
}

/// Cosines of all multiples of the circle's N-th part, in extended precision.
std::vector<long double> circle(size_t size) {
    std::vector<long double> cosines(size);
    for (size_t i = 0; i < size; i++)
        cosines[i] = std::cos(2.0L * std::numbers::pi_v<long double> * static_cast<long double>(i) /
                              static_cast<long double>(size));
    return cosines;
}

/// One bin by definition; sin(a) is cos(a - pi / 2).
std::complex<double> slowBin(const Samples& x, const std::vector<long double>& cosines,
                             size_t bin) {
    long double re = 0.0L, im = 0.0L;
    const size_t size = x.size();
    for (size_t i = 0; i < size; i++) {
        const size_t angle = i * bin % size;
        re += static_cast<long double>(x[i]) * cosines[angle];
        im -= static_cast<long double>(x[i]) * cosines[(angle + 3 * size / 4) % size];
    }
    return {static_cast<double>(re), static_cast<double>(im)};
}

std::complex<double> packedBin(const Samples& spectrum, size_t bin) {
    if (bin == 0) return spectrum[0];
    if (2 * bin == spectrum.size()) return spectrum[1];
    return {spectrum[2 * bin], spectrum[2 * bin + 1]};
}

using FFTPlanTest = LevelTest;

template <class Body>
void forEachOrder(Body body) {
    for (int order = CFFTPlan::kMinOrder; order <= CFFTPlan::kMaxOrder; order++) {
        CFFTPlan* plan = CFFTPlan::acquire(order);
        body(*plan);
        CFFTPlan::release(plan);
    }
}

} // namespace

TEST_P(FFTPlanTest, forwardGivesThePackedBinsOfTheDefinition) {
    forEachOrder([](CFFTPlan& plan) {
        const size_t size = static_cast<size_t>(plan.getSize());
        const Samples x = noise(size, 1);
        const std::vector<long double> cosines = circle(size);
        Samples spectrum = x;
        plan.forward(spectrum.data());
        // All bins of small sizes; of large ones the edges, quarters and a scattered choice.
        const size_t step = std::max<size_t>(1, size / 128);
        double error = 0.0;
        for (size_t bin = 0; bin <= size / 2; bin += bin < 20 ? 1 : step)
            error = std::max(error, std::abs(packedBin(spectrum, bin) - slowBin(x, cosines, bin)));
        for (size_t bin : {size / 2, size / 2 - 1, size / 4, size / 8, 3 * size / 8, size / 16})
            error = std::max(error, std::abs(packedBin(spectrum, bin) - slowBin(x, cosines, bin)));
        // Rounding grows with the order; the rms of a bin is sqrt(N / 3).
        EXPECT_LT(error, 2.5e-16 * plan.getOrder() * std::sqrt(static_cast<double>(size)))
            << "order " << plan.getOrder();
    });
}

TEST_P(FFTPlanTest, inverseOfForwardIsTheInputTimesItsSize) {
    forEachOrder([](CFFTPlan& plan) {
        const Samples x = noise(static_cast<size_t>(plan.getSize()), 2);
        Samples y = x;
        plan.forward(y.data());
        plan.inverse(y.data());
        for (double& value : y) value *= plan.getScale();
        EXPECT_LT(distance(y, x), 4e-16 * plan.getOrder()) << "order " << plan.getOrder();
    });
}

TEST_P(FFTPlanTest, constantInputFillsBinZeroAlone) {
    forEachOrder([](CFFTPlan& plan) {
        Samples x(static_cast<size_t>(plan.getSize()), 0.75);
        plan.forward(x.data());
        EXPECT_EQ(x[0], 0.75 * plan.getSize());
        x[0] = 0.0;
        EXPECT_EQ(largest(x), 0.0) << "order " << plan.getOrder();
    });
}

TEST_P(FFTPlanTest, blockedProductsGiveTheSameSamplesAsPackedOnes) {
    forEachOrder([](CFFTPlan& plan) {
        const size_t size = static_cast<size_t>(plan.getSize());
        const size_t blocked = static_cast<size_t>(plan.blockedSize());
        Samples packedSum(size, 0.0);
        std::vector<Samples> a, b;
        std::vector<const double*> as, bs;
        for (unsigned j = 0; j < 3; j++) {
            Samples x = noise(size, 10 + j), y = noise(size, 20 + j);
            a.emplace_back(blocked);
            b.emplace_back(blocked);
            plan.forwardBlocked(x.data(), x.data() + size / 2, a.back().data());
            plan.forwardBlocked(y.data(), y.data() + size / 2, b.back().data());
            plan.forward(x.data());
            plan.forward(y.data());
            if (j == 0) {
                mulPacked(x.data(), y.data(), packedSum.data(), plan.getSize());
                continue;
            }
            packedSum[0] += x[0] * y[0];
            packedSum[1] += x[1] * y[1];
            addProductComplex(x.data() + 2, y.data() + 2, packedSum.data() + 2,
                              plan.getSize() / 2 - 1);
        }
        for (unsigned j = 0; j < 3; j++) {
            as.push_back(a[j].data());
            bs.push_back(b[j].data());
        }
        Samples sum(blocked), result(size);
        vectorCode().sumProducts(as.data(), bs.data(), 3, sum.data(), plan.blockedSize());
        const Samples kept = sum;
        EXPECT_NEAR(sum[0], packedSum[0], 1e-15 * static_cast<double>(size) * 3);
        plan.inverseBlocked(sum.data(), result.data());
        EXPECT_EQ(sum, kept) << "the spectrum is input only";
        plan.inverse(packedSum.data());
        packedSum.resize(size / 2); // what overlap-save wants
        EXPECT_LT(distance(result, packedSum), 1e-15 * plan.getOrder() * largest(packedSum))
            << "order " << plan.getOrder();
    });
}

TEST_P(FFTPlanTest, productsTreatEveryTailAndTheTwoRealBins) {
    for (int count : {0, 1, 2, 3, 4, 5, 7, 15, 16, 33}) {
        const Samples a = noise(66, 3), b = noise(66, 4), start = noise(66, 5);
        Samples acc = start;
        addProductComplex(a.data(), b.data(), acc.data(), count);
        for (size_t i = 0; i < 33; i++) {
            std::complex<double> want{start[2 * i], start[2 * i + 1]};
            if (static_cast<int>(i) < count)
                want += std::complex(a[2 * i], a[2 * i + 1]) * std::complex(b[2 * i], b[2 * i + 1]);
            EXPECT_NEAR(acc[2 * i], want.real(), 1e-15);
            EXPECT_NEAR(acc[2 * i + 1], want.imag(), 1e-15);
        }
    }
    Samples a = noise(32, 6);
    const Samples b = noise(32, 7), before = a;
    mulPacked(a.data(), b.data(), a.data(), 32); // in place
    EXPECT_EQ(a[0], before[0] * b[0]);
    EXPECT_EQ(a[1], before[1] * b[1]);
    EXPECT_NEAR(a[30], before[30] * b[30] - before[31] * b[31], 1e-15);
}

TEST_P(FFTPlanTest, rowSumsAndDotProductsAgreeWithTheObviousLoop) {
    constexpr int kStride = 40;
    const Samples a = noise(kStride * 19, 8), b = noise(kStride, 9), weights = noise(19, 10);
    for (int rows : {0, 1, 7, 8, 9, 19})
        for (int count : {1, 3, 4, 17, 38}) {
            Samples sums = noise(kStride, 11), want = sums; // what stood there before is gone
            std::fill_n(want.begin(), count, 0.0);
            for (size_t r = 0; r < static_cast<size_t>(rows); r++)
                for (size_t t = 0; t < static_cast<size_t>(count); t++)
                    want[t] += weights[r] * a[r * kStride + t];
            vectorCode().sumRows(a.data(), kStride, weights.data(), rows, sums.data(), count);
            EXPECT_LT(distance(sums, want), 1e-14);
            double dot = 0.0;
            for (size_t t = 0; t < static_cast<size_t>(count); t++) dot += a[t] * b[t];
            EXPECT_NEAR(vectorCode().dotProduct(a.data(), b.data(), count), dot, 1e-14);
        }
}

TEST_P(FFTPlanTest, samplesKeepTheirValueFromWidthToWidth) {
    const Samples exact = noise(67, 13);
    for (int count : {0, 1, 7, 8, 15, 16, 33, 67}) {
        std::vector<float> narrow(exact.size(), 2.0F);
        Samples wide(exact.size(), 2.0);
        vectorCode().narrow(exact.data(), narrow.data(), count);
        vectorCode().widen(narrow.data(), wide.data(), count);
        for (size_t i = 0; i < exact.size(); i++) {
            const double want = i < static_cast<size_t>(count) ? static_cast<float>(exact[i]) : 2.0;
            ASSERT_EQ(narrow[i], want) << count;
            ASSERT_EQ(wide[i], want) << count;
        }
    }
}

// The vector code has constant sizes up to order 13 where its twin has variable ones, and keeps its
// points in its own way.
TEST_P(FFTPlanTest, spectraAndSamplesAreThoseOfThePlainLoops) {
    const CVectorCode* const codes[2] = {&vectorCodeOf(platform::CpuLevel::Plain), &vectorCode()};
    for (int order = CFFTPlan::kMinOrder; order <= CFFTPlan::kMaxOrder; order++) {
        const CTransformTables& tables = CTransformTables::get(order);
        const size_t size = size_t{1} << order;
        const Samples x = noise(size, 12);
        Samples packed[2], blocked[2], back[2];
        for (int i = 0; i < 2; i++) {
            Samples work(size), spectrum(size + 8), samples(size);
            packed[i] = x;
            codes[i]->forward(tables, packed[i].data(), packed[i].data(), work.data());
            codes[i]->forwardBlocked(tables, x.data(), x.data() + size / 2, spectrum.data(),
                                     work.data());
            codes[i]->inverseBlocked(tables, spectrum.data(), samples.data(), work.data());
            blocked[i] = spectrum;
            back[i] = packed[i];
            codes[i]->inverse(tables, back[i].data(), back[i].data(), work.data());
            samples.resize(size / 2);
            EXPECT_LT(distance(back[i], samples), 1e-15 * order * static_cast<double>(size));
        }
        // Fused multiply-adds round once where the plain loops round twice.
        const double bound = 2.5e-16 * order * std::sqrt(static_cast<double>(size));
        EXPECT_LT(distance(packed[0], packed[1]), bound) << "order " << order;
        EXPECT_LT(distance(blocked[0], blocked[1]), bound) << "order " << order;
        EXPECT_LT(distance(back[0], back[1]), bound * std::sqrt(static_cast<double>(size)));
    }
}

INSTANTIATE_TEST_SUITE_P(everyInstructionSet, FFTPlanTest, testing::ValuesIn(kAllLevels),
                         [](const auto& level) { return levelName(level.param); });

TEST(FFTPlanPoolTest, aReleasedPlanIsHandedOutAgain) {
    CFFTPlan* first = CFFTPlan::acquire(9);
    CFFTPlan* second = CFFTPlan::acquire(9);
    EXPECT_NE(first, second);
    CFFTPlan::release(first);
    EXPECT_EQ(CFFTPlan::acquire(9), first);
    CFFTPlan::release(first);
    CFFTPlan::release(second);
}
