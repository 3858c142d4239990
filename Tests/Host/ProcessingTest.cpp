#include "Host/HostedPlugin.h"

#include <cmath>

using namespace lum::vst;

namespace {

constexpr int kChannels = 8;

struct RateRow {
    double rate; // Hz
    int latency; // samples
};
constexpr RateRow kRates[] = {{44100, 392}, {48000, 415},   {88200, 657},
                              {96000, 703}, {176400, 1186}, {192000, 1279}};

} // namespace

TEST(Processing, latencyFollowsTheSampleRate) {
    Instance instance;
    EXPECT_EQ(instance.effect->initialDelay, 392) << "before the host has set anything";
    for (const RateRow& row : kRates) {
        instance.suspend();
        instance.open(row.rate);
        EXPECT_EQ(instance.effect->initialDelay, row.latency) << row.rate;
    }
}

/// The two routed channels come back after the latency; the others are silent.
template <class Sample>
void expectTransparent(const RateRow& row, double tolerance) {
    Instance instance;
    instance.open(row.rate);
    const int frames = 3 * row.latency;
    const auto input = noise<Sample>(kChannels, frames);
    const auto output = render(instance, input, {500, 7});
    double worst = 0.0;
    double strayed = 0.0;
    for (int i = row.latency; i < frames; i++)
        for (int channel = 0; channel < kChannels; channel++) {
            const auto at = [&](const Planar<Sample>& planar, int frame) {
                return static_cast<double>(
                    planar[static_cast<size_t>(channel)][static_cast<size_t>(frame)]);
            };
            if (channel < 2)
                worst = std::max(worst, std::abs(at(output, i) - at(input, i - row.latency)));
            else
                strayed = std::max(strayed, std::abs(at(output, i)));
        }
    EXPECT_LE(worst, tolerance) << row.rate;
    EXPECT_EQ(strayed, 0.0) << row.rate;
}

TEST(Processing, flatIsADelayedCopyInBothPrecisions) {
    for (const RateRow& row : kRates) {
        expectTransparent<double>(row, 1e-12);
        expectTransparent<float>(row, std::ldexp(1.0, -24)); // half a step of values below 1
    }
}

TEST(Processing, anyBlockSplitGivesTheSameBits) {
    const std::vector<std::vector<int>> splits = {{512}, {1},   {7},    {64},
                                                  {500}, {513}, {5000}, {1, 511, 3000, 17}};
    const auto input = noise<double>(2, 6000);
    Planar<double> reference;
    for (const auto& split : splits) {
        HostModel::current().version = 2200; // two channels
        Instance instance;
        HostModel::current().version = 2400;
        ASSERT_EQ(instance.effect->numInputs, 2);
        instance.set(3, 0.9F);
        instance.set(12, 0.2F);
        instance.set(17, 0.7F);
        instance.open(48000);
        render(instance, noise<double>(2, 4800, 9), {480}); // past the fades of the settings
        const auto output = render(instance, input, split);
        if (reference.empty()) reference = output;
        EXPECT_EQ(output, reference) << "blocks of " << split[0];
    }
    EXPECT_NE(reference, input);
}

TEST(Processing, inPlaceAndMissingBuffersAreFine) {
    Instance instance;
    instance.open(44100);
    auto samples = noise<float>(kChannels, 1000);
    const auto expected = [&] {
        Instance other;
        other.open(44100);
        return render(other, samples, {1000});
    }();
    std::vector<float*> pointers;
    for (auto& channel : samples) pointers.push_back(channel.data());
    instance.effect->processReplacing(instance.effect, pointers.data(), pointers.data(), 1000);
    EXPECT_EQ(samples, expected);

    // No buffer on one side, no arrays at all, no frames.
    std::vector<float*> missing(kChannels, nullptr);
    std::vector<float> out(1000, 1.0F);
    missing[1] = out.data();
    instance.effect->processReplacing(
        instance.effect, std::vector<float*>(kChannels, nullptr).data(), missing.data(), 1000);
    instance.effect->processReplacing(instance.effect, nullptr, nullptr, 1000);
    instance.effect->processReplacing(instance.effect, pointers.data(), pointers.data(), 0);
    EXPECT_NE(out[999], 1.0F);
}

TEST(Processing, bypassGivesTheExactDelayedInput) {
    Instance instance;
    instance.set(5, 1.0F);
    instance.set(0, 1.0F);
    instance.open(44100);
    render(instance, noise<double>(kChannels, 4410, 3));
    const auto input = noise<double>(kChannels, 4000);
    const auto output = render(instance, input);
    for (int i = 392; i < 4000; i++)
        for (size_t channel = 0; channel < 2; channel++)
            ASSERT_EQ(output[channel][static_cast<size_t>(i)],
                      input[channel][static_cast<size_t>(i - 392)]);
}

TEST(Processing, anEightChannelArrangementFiltersAllChannels) {
    Instance instance;
    SpeakerArrangement arrangement = {};
    arrangement.numChannels = kChannels;
    EXPECT_EQ(instance.send(kEffectSetSpeakerArrangement, 0,
                            reinterpret_cast<intptr_t>(&arrangement), &arrangement),
              1);
    instance.open(44100);
    const auto input = noise<double>(kChannels, 2000);
    const auto output = render(instance, input);
    for (size_t channel = 0; channel < kChannels; channel++)
        for (size_t i = 392; i < 2000; i += 31)
            ASSERT_NEAR(output[channel][i], input[channel][i - 392], 1e-12) << channel;
}
