// Blocks of every length and kind: division, missing and shared buffers, more than announced.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <cstring>

namespace lum::validate {

namespace {

constexpr double kRate = 48000.0; // Hz
constexpr int kSettle = 9600;     // frames, past any fade
constexpr std::uint32_t kState = 5;

/// A running instance in a state that is not flat.
void prepare(Subject& subject, int announced) {
    subject.open();
    scramble(subject, kState);
    subject.setRate(kRate, announced);
    subject.resume();
    render(subject, silence<float>(subject.inputs(), kSettle));
}

/// Lengths that repeat, drawn so that tiny, odd and large blocks meet.
std::vector<int> division(Random& random) {
    std::vector<int> lengths(16);
    const int limit = 1 << (1 + random.below(13));
    for (int& length : lengths) length = 1 + random.below(limit);
    return lengths;
}

template <class Sample>
void compareDivisions(const host::PluginModule& module, int count, Findings& findings) {
    Planar<Sample> expected;
    Random random(3);
    for (int i = 0; i < count; i++) {
        Subject subject(module);
        prepare(subject, 8192);
        const auto input = noise<Sample>(subject.inputs(), 24000);
        const std::vector<int> lengths = i == 0   ? std::vector<int>{512}
                                         : i == 1 ? std::vector<int>{1}
                                         : i == 2 ? std::vector<int>{8192}
                                                  : division(random);
        const auto output = render(subject, input, lengths);
        if (i == 0)
            expected = output;
        else
            findings.expect(output == expected,
                            text("division %d (%d, %d, ..) of %zu-byte samples", i, lengths[0],
                                 lengths.back(), sizeof(Sample)));
    }
}

Outcome anyDivision(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    const int count = task.count(10, 400);
    compareDivisions<float>(module, count, findings);
    if (Subject(module).hasDouble()) compareDivisions<double>(module, count, findings);
    return findings.outcome(text("%d divisions of 24,000 frames, bit for bit", count));
}

/// A parameter that moves at the same frames is heard the same in every division at them.
Outcome divisionWithChanges(const Task& task) {
    constexpr int kStep = 9600; // frames, longer than a fade: one change waits for another's
    const host::PluginModule module(task.plugin);
    Findings findings;
    Planar<float> expected;
    for (const int length : {512, 1, 64, 37, 480}) {
        Subject subject(module);
        prepare(subject, 512);
        const auto input = noise<float>(subject.inputs(), kStep);
        Planar<float> output(static_cast<std::size_t>(subject.outputs()));
        Random random(8);
        for (int i = 0; i < 20; i++) {
            subject.set(random.below(subject.parameterCount()), static_cast<float>(random.unit()));
            const auto part = render(subject, input, std::vector<int>{length});
            for (std::size_t c = 0; c < output.size(); c++)
                output[c].insert(output[c].end(), part[c].begin(), part[c].end());
        }
        if (expected.empty()) expected = output;
        findings.expect(output == expected,
                        text("blocks of %d: %.2g apart", length, difference(output, expected)));
    }
    return findings.outcome("20 changes, 5 divisions, bit for bit");
}

Outcome lengthsAndAnnouncement(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Planar<float> expected;
    for (const int announced : {8192, 64, 1}) {
        Subject subject(module);
        prepare(subject, announced);
        const auto input = noise<float>(subject.inputs(), 30000);
        const auto output = render(subject, input, std::vector<int>{1, 8192, 3, 511, 4097});
        if (expected.empty()) expected = output;
        findings.expect(output == expected, text("announced %d", announced));
    }
    return findings.outcome("8,192 frames where 1 was announced");
}

Outcome emptyBlocks(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    Subject twin(module);
    prepare(subject, 512);
    prepare(twin, 512);
    const auto input = noise<float>(subject.inputs(), 4096);
    Findings findings;
    for (int i = 0; i < 8; i++) {
        subject.process(static_cast<float**>(nullptr), nullptr, 0);
        auto untouched = noise<float>(subject.outputs(), 1, 77);
        const auto before = untouched;
        std::vector<float*> out;
        for (auto& channel : untouched) out.push_back(channel.data());
        subject.process(out.data(), out.data(), 0);
        findings.expect(untouched == before, "an empty block writes");
        findings.expect(render(subject, input) == render(twin, input), "an empty block is heard");
    }
    return findings.outcome("null and valid pointers");
}

Outcome sharedBuffers(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    Subject twin(module);
    prepare(subject, 512);
    prepare(twin, 512);
    Findings findings;
    const int channels = std::min(subject.inputs(), subject.outputs());
    for (const int frames : {1, 511, 512, 2000}) {
        auto samples = noise<float>(subject.outputs(), frames);
        for (std::size_t c = static_cast<std::size_t>(channels); c < samples.size(); c++)
            std::ranges::fill(samples[c], 0.0F);
        const auto expected = render(twin, samples, std::vector<int>{frames});
        std::vector<float*> pointers;
        for (auto& channel : samples) pointers.push_back(channel.data());
        std::vector<float*> inputs(pointers.begin(), pointers.begin() + subject.inputs());
        subject.process(inputs.data(), pointers.data(), frames);
        findings.expect(samples == expected, text("%d frames", frames));
    }
    return findings.outcome("the same bits as in memory of its own");
}

/// A missing input is silence; a missing output is skipped; the rest is as ever.
Outcome missingBuffers(const Task& task) {
    constexpr int kFrames = 1000;
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    Subject twin(module);
    prepare(subject, kFrames);
    prepare(twin, kFrames);
    Findings findings;
    auto input = noise<float>(subject.inputs(), kFrames);
    auto output = silence<float>(subject.outputs(), kFrames);
    const std::size_t lastIn = input.size() - 1;
    const std::size_t lastOut = output.size() - 1;
    for (int turn = 0; turn < 4; turn++) {
        std::vector<float*> in;
        std::vector<float*> out;
        for (auto& channel : input) in.push_back(channel.data());
        for (auto& channel : output) out.push_back(channel.data());
        in[lastIn] = nullptr;
        out[lastOut] = nullptr;
        subject.process(in.data(), out.data(), kFrames);
        auto silenced = input;
        std::ranges::fill(silenced[lastIn], 0.0F);
        const auto expected = render(twin, silenced, std::vector<int>{kFrames});
        for (std::size_t c = 0; c < lastOut; c++)
            findings.expect(output[c] == expected[c], text("channel %zu differs", c));
    }
    std::vector<float*> nothing(std::max(input.size(), output.size()), nullptr);
    subject.process(nothing.data(), nothing.data(), kFrames);
    subject.process(static_cast<float**>(nullptr), nullptr, kFrames);
    return findings.outcome("single channels, all channels, no arrays");
}

/// No sample behind or before the block is touched.
Outcome canaries(const Task& task) {
    constexpr int kMargin = 64;
    constexpr float kCanary = 1.25F;
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    prepare(subject, 512);
    Findings findings;
    for (const int frames : {1, 2, 63, 511, 512, 513, 1023, 8191, 8192}) {
        auto input = noise<float>(subject.inputs(), frames + 2 * kMargin);
        const auto before = input;
        Planar<float> output(static_cast<std::size_t>(subject.outputs()),
                             std::vector<float>(input[0].size(), kCanary));
        std::vector<float*> in;
        std::vector<float*> out;
        for (auto& channel : input) in.push_back(channel.data() + kMargin);
        for (auto& channel : output) out.push_back(channel.data() + kMargin);
        subject.process(in.data(), out.data(), frames);
        findings.expect(input == before, text("inputs of %d frames are changed", frames));
        for (const auto& channel : output) {
            const auto isCanary = [](float sample) { return sample == kCanary; };
            const bool isWhole =
                std::all_of(channel.begin(), channel.begin() + kMargin, isCanary) &&
                std::all_of(channel.end() - kMargin, channel.end(), isCanary);
            findings.expect(isWhole, text("writes outside of %d frames", frames));
        }
    }
    return findings.outcome("64 samples on each side untouched");
}

} // namespace

std::span<const Check> blockChecks() {
    static constexpr Check kChecks[] = {
        {"Blocks", "anyDivisionGivesTheSameBits", &anyDivision, 30},
        {"Blocks", "changesAreHeardTheSameInAnyDivision", &divisionWithChanges, 20},
        {"Blocks", "moreThanAnnouncedIsTheSame", &lengthsAndAnnouncement, 20},
        {"Blocks", "emptyBlocksChangeNothing", &emptyBlocks, 10},
        {"Blocks", "inputAndOutputMayBeOneMemory", &sharedBuffers, 10},
        {"Blocks", "missingBuffersAreSilence", &missingBuffers, 10},
        {"Blocks", "nothingIsWrittenBesideTheBlock", &canaries, 10},
    };
    return kChecks;
}

} // namespace lum::validate
