// No change of state may click: while tones play, what a change adds outside their neighbourhood is
// what a raised-cosine morph between the two settled signals adds there.

#include "Audio/StateFixture.h"
#include "Validate/StrayEnergy.h"

#include <array>
#include <cmath>
#include <functional>
#include <numbers>

namespace lum::test {
namespace {

constexpr double kRate = 44100.0;
constexpr int kLatency = 392;             // frames at this rate
constexpr int kBlock = 64;                // frames
constexpr int kFrames = 16384;            // of a run, all analysed
constexpr int kChanges[] = {6400, 10816}; // frames: there and back, a tenth of a second apart
constexpr double kTones[] = {220.0, 997.0, 3100.0};
constexpr double kTolerance = 6.0; // dB over the ideal
constexpr double kFloor = -170.0;  // dB, a little above the window's leakage

using Signal = std::vector<double>;
using Stereo = std::array<Signal, 2>;
using Change = std::function<void()>;

double tonesAt(int channel, int frame) {
    double sum = 0.0;
    for (const double hz : kTones)
        sum += 0.3 * std::sin(2.0 * std::numbers::pi * hz * frame / kRate + hz + channel);
    return sum;
}

class Clicks : public StateFixture {
protected:
    void SetUp() override {}

    void startFresh() {
        wrapper.reset();
        initInstance();
        wrapper->setSampleRate(kRate);
        wrapper->setInputFormat({2, true, false}, {});
        wrapper->setOutputFormat({2, true, false});
        wrapper->start();
    }
    /// Runs the tones through the instance from frame `from` to `to`.
    void run(Stereo& out, int from, int to) {
        std::array<std::array<double, kBlock>, 2> in;
        for (int at = from; at < to; at += kBlock) {
            const void* ins[2];
            void* outs[2];
            for (size_t c = 0; c < 2; c++) {
                out[c].resize(static_cast<size_t>(at) + kBlock);
                for (int i = 0; i < kBlock; i++)
                    in[c][static_cast<size_t>(i)] = tonesAt(static_cast<int>(c), at + i);
                ins[c] = in[c].data();
                outs[c] = out[c].data() + at;
            }
            wrapper->process(ins, outs, kBlock);
        }
    }
    /// What a state gives when it holds from the first frame.
    Stereo settled(const Change& prepare, const Change& state) {
        startFresh();
        prepare();
        state();
        wrapper->stop();
        wrapper->start();
        Stereo out;
        run(out, 0, kFrames);
        return out;
    }
    /// What changes to one state and back to the other give.
    Stereo changing(const Change& prepare, const Change& first, const Change& second) {
        startFresh();
        prepare();
        first();
        wrapper->stop();
        wrapper->start();
        Stereo out;
        run(out, 0, kChanges[0]);
        second();
        run(out, kChanges[0], kChanges[1]);
        first();
        run(out, kChanges[1], kFrames);
        return out;
    }
    /// The ideal, `delay` frames behind each change.
    static Signal morph(const Signal& first, const Signal& second, int delay, double seconds) {
        const double length = std::round(seconds * kRate);
        const validate::Crossover changes[] = {{kChanges[0] + delay, length},
                                               {kChanges[1] + delay, length}};
        return validate::morphOf(first, second, changes);
    }
    static validate::StrayEnergy strayEnergy(const Signal& samples) {
        return validate::strayEnergyOf(samples, kRate, kTones);
    }

    struct Case {
        const char* name;
        int delay; // frames
        double seconds;
        Change first;
        Change second;
    };
    void judge(const Case& c, const Change& prepare) {
        const Stereo heard = changing(prepare, c.first, c.second);
        const Stereo first = settled(prepare, c.first);
        const Stereo second = settled(prepare, c.second);
        for (size_t channel = 0; channel < 2; channel++) {
            const auto got = strayEnergy(heard[channel]);
            const auto ideal =
                strayEnergy(morph(first[channel], second[channel], c.delay, c.seconds));
            for (size_t d = 0; d < got.size(); d++) {
                EXPECT_LT(got[d], std::max(ideal[d] + kTolerance, kFloor))
                    << c.name << ", channel " << channel << ", beyond "
                    << validate::kStrayDistances[d] << " Hz";
                if (std::getenv("LUM_SHOW_CLICKS"))
                    std::printf("%-14s channel %zu beyond %4.0f Hz: %7.1f dB, ideal %7.1f dB\n",
                                c.name, channel, validate::kStrayDistances[d], got[d], ideal[d]);
            }
        }
    }

    void setBands(double even, double odd, int group = 0) {
        for (int band = 0; band < 16; band++)
            set("modSorrelGEQ.gains", band % 2 ? odd : even, band, group);
    }
    Change setting(const char* name, double value, int element = 0, int group = 0) {
        return [this, name, value, element, group] { set(name, value, element, group); };
    }
};

const double kLow = std::pow(10.0, -0.6); // -12 dB
const double kHigh = std::pow(10.0, 0.6); // 12 dB

TEST_F(Clicks, noChangeOfValuesClicks) {
    const Case cases[] = {
        {"one band", kLatency, 0.025, setting("modSorrelGEQ.gains", kLow, 9),
         setting("modSorrelGEQ.gains", kHigh, 9)},
        {"sixteen bands", kLatency, 0.025, [&] { setBands(kHigh, kLow); },
         [&] { setBands(kLow, kHigh); }},
        {"output gain", 0, 0.015, setting("modOutGain.gain", kLow),
         setting("modOutGain.gain", kHigh)},
        {"mute", 0, 0.015, setting("modOutGain.mute", 0), setting("modOutGain.mute", 1)},
        {"bypass", 0, 0.015, setting("bypass-enable", 0), setting("bypass-enable", 1)},
    };
    for (const Case& c : cases) judge(c, [&] { setBands(kHigh, kHigh); });
    judge({"another solo", 0, 0.015, setting("io-params.channel-group-solo", 0, 0, 1),
           setting("io-params.channel-group-solo", 1, 0, 1)},
          [&] {
              set("io-params.grouping", 1, 1);
              set("io-params.channel-group-solo", 1, 0, 0);
          });
}

TEST_F(Clicks, noChangeOfRoutingClicks) {
    CByteBuffer chunks[2];
    startFresh();
    chunks[0] = chunk(true);
    registry().setCurrentProgram(3, nullptr);
    set("io-params.ms-pairs", 1, 0);
    set("io-params.ms-pairs", 1, 1);
    chunks[1] = chunk(true);
    const auto giving = [&](const CByteBuffer& bytes) {
        return [&] { EXPECT_FALSE(wrapper->setState(bytes.data(), bytes.size(), true, true)); };
    };
    const auto program = [&](int index) {
        return [this, index] { registry().setCurrentProgram(index, nullptr); };
    };
    const auto pairs = [&](double id) {
        return [this, id] {
            set("io-params.ms-pairs", id, 0);
            set("io-params.ms-pairs", id, 1);
        };
    };
    const Case cases[] = {
        {"solo", 2 * kLatency, 0.025, setting("io-params.channel-group-solo", 0),
         setting("io-params.channel-group-solo", 1)},
        {"group", 2 * kLatency, 0.025, setting("io-params.grouping", 0, 0),
         setting("io-params.grouping", 2, 0)},
        {"pair", 2 * kLatency, 0.025, pairs(0), pairs(1)},
        {"input", 2 * kLatency, 0.025, setting("io-params.in-routing", 1, 0),
         setting("io-params.in-routing", 0, 0)},
        {"output", 2 * kLatency, 0.025, setting("io-params.out-routing", 1, 0),
         setting("io-params.out-routing", 2, 0)},
        {"program", 2 * kLatency, 0.025, program(0), program(3)},
        {"chunk", 2 * kLatency, 0.025, giving(chunks[0]), giving(chunks[1])},
    };
    for (const Case& c : cases)
        judge(c, [&] {
            set("io-params.grouping", 1, 1);
            setBands(kHigh, kLow, 0);
            setBands(kLow, kHigh, 1);
            setBands(kHigh, kHigh, 2);
        });
}

/// Changes during a crossfade wait, and the last one wins.
TEST_F(Clicks, aBurstOfRoutingsEndsWithTheLast) {
    const Change prepare = [&] {
        for (int group = 0; group < 8; group++) setBands(1.0 + 0.1 * group, 1.0, group);
    };
    const Stereo last = settled(prepare, setting("io-params.grouping", 7, 1));
    startFresh();
    prepare();
    wrapper->stop();
    wrapper->start();
    Stereo out;
    for (int i = 0; i < 80; i++) {
        if (i > 10 && i < 18) set("io-params.grouping", i - 10, 1);
        run(out, i * kBlock, (i + 1) * kBlock);
    }
    // One crossfade from the first of them and one to the last are over by then.
    constexpr int kSecondEnd = 12 * kBlock + 2 * (2 * kLatency + 1103 + 2 * kBlock);
    static_assert(kSecondEnd < 80 * kBlock);
    for (size_t i = kSecondEnd; i < out[0].size(); i++)
        for (size_t c = 0; c < 2; c++) ASSERT_NEAR(out[c][i], last[c][i], 1e-13) << i;
}

} // namespace
} // namespace lum::test
