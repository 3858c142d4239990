#include "Other/CImageScaler.h"
#include "Other/PixelFixture.h"

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace lum;

namespace {

double weightAt(double t, double s) {
    if (std::abs(t) > 3.0 / s) return 0.0;
    const double x = std::numbers::pi * s;
    return t == 0.0 ? x * x / 3.0 : std::sin(x * t) * std::sin(x * t / 3.0) / (t * t);
}

/// The weights around a position, over a whole row, edges replicated.
std::vector<double> weightsAt(double position, double ratio, int size) {
    const double s = ratio <= 1.0 ? 1.0 : 1.0 / ratio;
    const double whole = std::floor(position);
    const double exact = whole + std::floor((position - whole) * 1000.0 + 0.5) / 1000.0;
    const int half = static_cast<int>(std::ceil(3.0 / s));
    std::vector<double> weights(static_cast<size_t>(size), 0.0);
    double sum = 0.0;
    for (int i = static_cast<int>(whole) - half + 1; i <= static_cast<int>(whole) + half; i++) {
        const double weight = weightAt(i - exact, s);
        weights[static_cast<size_t>(std::clamp(i, 0, size - 1))] += weight;
        sum += weight;
    }
    for (double& weight : weights) weight /= sum;
    return weights;
}

/// Slow and obvious: both directions at once, in double precision.
double directPixel(const CScaleRequest& request, int x, int y, int channel) {
    const auto across =
        weightsAt(request.phaseX + x * request.ratio, request.ratio, request.sourceWidth);
    const auto down =
        weightsAt(request.phaseY + y * request.ratio, request.ratio, request.sourceHeight);
    double sum = 0.0;
    for (int j = 0; j < request.sourceHeight; j++)
        for (int i = 0; i < request.sourceWidth; i++)
            sum += across[static_cast<size_t>(i)] * down[static_cast<size_t>(j)] *
                   request.source[j * request.sourceStride + i * request.bytesPerPixel + channel];
    return std::clamp(sum, 0.0, 255.0);
}

} // namespace

// Tolerance: half a step of rounding, and what 32-bit sums leave of 24-bit weights.
TEST(Resample, equalsTheDirectSumAtAnyRatioAndPhase) {
    CImageScaler scaler; // one for all, as the layers use it
    for (unsigned seed = 1; seed <= 60; seed++) {
        CNoise noise(seed);
        const int bytesPerPixel = kPixelKinds[seed % 3];
        const int width = noise.number(1, 24);
        const int height = noise.number(1, 24);
        const CPixelBytes source = noise.bytes(width * height * bytesPerPixel);
        const double ratios[] = {2.0, 1.6, 4.0 / 3.0, 1.0, 0.5, noise.real(0.3, 5.0)};
        const double ratio = ratios[seed % 6];
        const int targetWidth = std::max(1, static_cast<int>(width / ratio)) + 1;
        const int targetHeight = std::max(1, static_cast<int>(height / ratio)) + 1;
        CPixelBytes target(static_cast<size_t>(targetWidth * targetHeight * bytesPerPixel));
        const CScaleRequest request{source.data(),
                                    width,
                                    height,
                                    width * bytesPerPixel,
                                    target.data(),
                                    targetWidth,
                                    targetHeight,
                                    bytesPerPixel,
                                    ratio,
                                    noise.real(-2, 2),
                                    noise.real(-2, 2)};
        scaler.scale(request);
        for (int y = 0; y < targetHeight; y++)
            for (int x = 0; x < targetWidth; x++)
                for (int c = 0; c < bytesPerPixel; c++) {
                    const int got =
                        target[static_cast<size_t>((y * targetWidth + x) * bytesPerPixel + c)];
                    ASSERT_NEAR(got, directPixel(request, x, y, c), 0.51)
                        << "seed " << seed << " ratio " << ratio << " at " << x << ", " << y;
                }
    }
}

// More rows than a strip has, so that the cuts between strips would show.
TEST(Resample, aTallImageHasNoSeams) {
    constexpr int kWidth = 900;
    constexpr int kHeight = 1400;
    CPixelBytes source(static_cast<size_t>(kWidth) * kHeight * 4);
    for (size_t i = 0; i < source.size(); i++)
        source[i] = static_cast<uint8_t>((i / (kWidth * 4)) * 255 / kHeight); // by the row alone
    CPixelBytes target(static_cast<size_t>(kWidth / 2) * (kHeight / 2) * 4);
    CImageScaler scaler;
    scaler.scale({source.data(), kWidth, kHeight, kWidth * 4, target.data(), kWidth / 2,
                  kHeight / 2, 4, 2.0, 0.5, 0.5});
    for (int y = 0; y < kHeight / 2; y++) {
        const double expected = (2.0 * y + 0.5) * 255.0 / kHeight;
        ASSERT_NEAR(target[static_cast<size_t>(y) * kWidth * 2 + 800], expected, 1.6) << y;
    }
}

TEST(Resample, withoutASourceTheTargetIsCleared) {
    CImageScaler scaler;
    CPixelBytes target(6, 9);
    scaler.scale({target.data(), 0, 4, 0, target.data(), 3, 2, 1, 2.0, 0.0, 0.0});
    EXPECT_EQ(target, CPixelBytes(6, 0));
    scaler.scale({target.data(), 1, 1, 1, nullptr, 0, 2, 1, 2.0, 0.0, 0.0});
}
