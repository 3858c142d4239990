// Numbers that no signal should have, and what they cost.

#include "Validate/Check.h"
#include "Validate/Golden.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>

namespace lum::validate {

namespace {

constexpr double kRate = 48000.0; // Hz
constexpr int kRecovery = 2048;   // frames at that rate until the output is finite again
constexpr int kSettle = 9600;
constexpr int kBad = 700;     // frames of bad input, across blocks
constexpr int kAfter = 48000; // frames heard behind them

template <class Sample>
struct Poison {
    const char* name;
    Sample (*make)(Random& random);
};

template <class Sample>
constexpr Poison<Sample> kPoisons[] = {
    {"NaN", [](Random&) { return std::numeric_limits<Sample>::quiet_NaN(); }},
    {"signalling NaN", [](Random&) { return std::numeric_limits<Sample>::signaling_NaN(); }},
    {"infinity", [](Random&) { return std::numeric_limits<Sample>::infinity(); }},
    {"-infinity", [](Random&) { return -std::numeric_limits<Sample>::infinity(); }},
    {"the largest number", [](Random&) { return std::numeric_limits<Sample>::max(); }},
    {"both largest numbers",
     [](Random& random) {
         const Sample most = std::numeric_limits<Sample>::max();
         return random.below(2) ? most : -most;
     }},
    {"denormals", [](Random&) { return std::numeric_limits<Sample>::denorm_min() * 1000; }},
    {"random bits",
     [](Random& random) {
         Sample sample;
         const std::uint32_t bits[2] = {random.next(), random.next()};
         std::memcpy(&sample, bits, sizeof sample);
         return sample;
     }},
    {"1e20", [](Random& random) { return static_cast<Sample>(random.unit() * 1e20); }},
};

/// A stream of noise with bad samples in all channels from `kSettle` on.
template <class Sample>
Planar<Sample> poisoned(const Planar<Sample>& clean, const Poison<Sample>& poison, int count) {
    Planar<Sample> signal = clean;
    Random random(17);
    for (auto& channel : signal)
        std::generate_n(channel.begin() + kSettle, count, [&] { return poison.make(random); });
    return signal;
}

/// Frames behind the last bad one until all that follows is within `tolerance` of the reference,
/// or merely finite where the tolerance is infinite.
template <class Sample>
int framesUntil(const Planar<Sample>& output, const Planar<Sample>& reference, int lastBad,
                double tolerance) {
    int worst = 0;
    for (std::size_t c = 0; c < output.size(); c++)
        for (int i = static_cast<int>(output[c].size()) - 1; i > lastBad + worst; i--) {
            const auto at = static_cast<std::size_t>(i);
            const double error = std::abs(static_cast<double>(output[c][at]) -
                                          static_cast<double>(reference[c][at]));
            if (std::isfinite(output[c][at]) && error <= tolerance) continue;
            worst = i - lastBad;
            break;
        }
    return worst;
}

struct Recovery {
    int finite = 0; // frames, the most of all poisons
    int clean = 0;
};

template <class Sample>
Recovery recover(const host::PluginModule& module, std::uint32_t state, bool isBypassed,
                 Findings& findings) {
    const double tolerance = sizeof(Sample) == 4 ? 1e-4 : 1e-9;
    Recovery worst;
    const auto play = [&](const Planar<Sample>& input) {
        Subject subject(module);
        subject.open();
        scramble(subject, state);
        if (const int bypass = subject.find("Bypass"); isBypassed && bypass >= 0)
            subject.set(bypass, 1.0F);
        subject.setRate(kRate);
        subject.resume();
        return render(subject, input);
    };
    const int inputs = Subject(module).inputs();
    const auto clean = noise<Sample>(inputs, kSettle + kBad + kAfter);
    const auto reference = play(clean);
    for (const Poison<Sample>& poison : kPoisons<Sample>)
        for (const int count : {1, kBad}) {
            const auto input = poisoned(clean, poison, count);
            const auto output = play(input);
            const int lastBad = kSettle + count - 1;
            const int finite =
                framesUntil(output, reference, lastBad, std::numeric_limits<double>::infinity());
            const int whole = framesUntil(output, reference, lastBad, tolerance);
            const auto who = text("%s in %zu-byte samples", poison.name, sizeof(Sample));
            findings.expect(finite <= kRecovery,
                            text("%s: not finite for %d frames", who.c_str(), finite));
            findings.expect(whole < kAfter - 480, who + ": never the clean sound again");
            worst.finite = std::max(worst.finite, finite);
            worst.clean = std::max(worst.clean, whole);
        }
    return worst;
}

Outcome badInput(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Recovery worst;
    const bool hasDouble = Subject(module).hasDouble();
    const auto take = [&worst](const Recovery& each) {
        worst.finite = std::max(worst.finite, each.finite);
        worst.clean = std::max(worst.clean, each.clean);
    };
    const auto states = static_cast<std::uint32_t>(task.count(2, 40));
    for (std::uint32_t state = 1; state <= states; state++) {
        take(recover<float>(module, state, state % 2 == 0, findings));
        if (hasDouble) take(recover<double>(module, state, state % 2 == 0, findings));
    }
    return findings.outcome(text("finite after at most %d frames, clean after %d, at 48 kHz",
                                 worst.finite, worst.clean));
}

/// Bad numbers that arrive in the middle of a fade reach a module that has yet to take over.
Outcome badInputDuringChanges(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    int worst = 0;
    for (std::uint32_t state = 1; state <= static_cast<std::uint32_t>(task.count(12, 500));
         state++) {
        Subject subject(module);
        subject.open();
        scramble(subject, state);
        subject.start(kRate);
        const auto settle = noise<float>(subject.inputs(), 4800);
        render(subject, settle);
        scramble(subject, state + 1);
        auto input = noise<float>(subject.inputs(), 12000);
        const auto at = static_cast<std::size_t>(100 * state % 2400);
        const float bad = state % 2 ? std::numeric_limits<float>::quiet_NaN() : 3e38F;
        for (auto& channel : input) channel[at] = bad;
        const auto output = render(subject, input);
        const int frames = framesUntil(output, output, static_cast<int>(at),
                                       std::numeric_limits<double>::infinity());
        findings.expect(frames <= kRecovery,
                        text("state %u: not finite for %d frames", state, frames));
        worst = std::max(worst, frames);
    }
    return findings.outcome(text("finite after at most %d frames", worst));
}

/// A state that other processes make begins with whatever the input is at that moment.
Outcome badInputAtRestoredStates(const Task& task) {
    const host::PluginModule module(task.plugin);
    const auto states = goldenPrograms(task.goldenFolder);
    if (states.empty()) return skip("no folder given with --golden");
    Findings findings;
    Subject subject(module);
    subject.start(kRate);
    int worst = 0;
    int count = 0;
    const int rounds = task.count(1, 20);
    for (int i = 0; i < rounds; i++)
        for (const GoldenChunk& state : states)
            for (const Poison<float>& poison : kPoisons<float>) {
                subject.load(true, state.bytes);
                auto input = noise<float>(subject.inputs(), 9600);
                Random random(17);
                const int bad = count++ % 3 == 0 ? 1 : 64;
                for (auto& channel : input)
                    std::generate_n(channel.begin(), bad, [&] { return poison.make(random); });
                const auto output = render(subject, input);
                const int frames =
                    framesUntil(output, output, bad - 1, std::numeric_limits<double>::infinity());
                findings.expect(frames <= kRecovery, text("%s with %s: not finite for %d frames",
                                                          state.name.c_str(), poison.name, frames));
                worst = std::max(worst, frames);
            }
    return findings.outcome(text("%d changes, finite after at most %d frames", count, worst));
}

/// Seconds for one round of blocks.
template <class Sample>
double roundTime(Subject& subject, Planar<Sample>& input, Planar<Sample>& output, int blocks) {
    std::vector<Sample*> in;
    std::vector<Sample*> out;
    for (auto& channel : input) in.push_back(channel.data());
    for (auto& channel : output) out.push_back(channel.data());
    const auto frames = static_cast<int>(input[0].size());
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < blocks; i++) subject.process(in.data(), out.data(), frames);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The quickest round is the one that nobody disturbed.
template <class Sample>
double denormalRatio(const host::PluginModule& module, int rounds) {
    constexpr int kFrames = 256;
    constexpr int kBlocks = 16; // short enough to be left alone by the machine now and then
    Subject subject(module);
    subject.open();
    scramble(subject, 4);
    subject.start(kRate);
    auto loud = noise<Sample>(subject.inputs(), kFrames);
    auto tiny = loud;
    for (auto& channel : tiny)
        for (Sample& sample : channel) sample *= std::numeric_limits<Sample>::min() / 16;
    auto output = silence<Sample>(subject.outputs(), kFrames);
    double best[2] = {1e9, 1e9};
    for (int i = 0; i < rounds; i++)
        for (const bool isTiny : {false, true}) {
            auto& input = isTiny ? tiny : loud;
            roundTime(subject, input, output, 20); // until the past is of the same kind
            best[isTiny] = std::min(best[isTiny], roundTime(subject, input, output, kBlocks));
        }
    return best[1] / best[0];
}

/// The least of a few ratios: what else runs on the machine only adds to one.
template <class Sample>
double leastDenormalRatio(const host::PluginModule& module, int rounds, double enough) {
    double least = denormalRatio<Sample>(module, rounds);
    for (int i = 0; i < 4 && least > enough; i++)
        least = std::min(least, denormalRatio<Sample>(module, rounds));
    return least;
}

Outcome denormalCost(const Task& task) {
    constexpr double kMost = 1.05;
    const host::PluginModule module(task.plugin);
    const int rounds = task.count(400, 10000);
    Findings findings;
    const double single = leastDenormalRatio<float>(module, rounds, kMost);
    const double wide =
        Subject(module).hasDouble() ? leastDenormalRatio<double>(module, rounds, kMost) : single;
    const auto figure = text("%.3f times that of noise, %.3f in 64 bits", single, wide);
    findings.expect(single <= kMost && wide <= kMost, figure);
    return findings.outcome(figure);
}

} // namespace

std::span<const Check> numberChecks() {
    static constexpr Check kChecks[] = {
        {"Numbers", "badInputIsForgottenSoon", &badInput, 40},
        {"Numbers", "badInputDuringChangesIsForgottenSoon", &badInputDuringChanges, 20},
        {"Numbers", "badInputAtRestoredStatesIsForgottenSoon", &badInputAtRestoredStates, 60},
        {"Numbers", "denormalsCostNoMoreThanNoise", &denormalCost, 30},
    };
    return kChecks;
}

} // namespace lum::validate
