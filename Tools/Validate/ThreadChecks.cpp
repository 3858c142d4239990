// All that hosts do at once, from as many threads. Under the thread sanitizer, with a plug-in built
// for it, this is the search for races.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

namespace lum::validate {

namespace {

constexpr int kFrames = 300;

/// Everything that the threads share.
struct Stage {
    Subject& subject;
    std::atomic<bool> isOver{false};
    std::atomic<long> blocks{0};
    std::atomic<long> changes{0};
    std::atomic<bool> isFinite{true};
};

void audio(Stage& stage) {
    const auto input = noise<float>(stage.subject.inputs(), kFrames);
    const int lengths[] = {64, 37, 128, kFrames};
    while (!stage.isOver) {
        const auto output = render(stage.subject, input, lengths);
        for (const auto& channel : output)
            for (float sample : channel)
                if (!std::isfinite(sample)) stage.isFinite = false;
        stage.blocks++;
    }
}

void automation(Stage& stage, std::uint32_t seed) {
    Random random(seed);
    while (!stage.isOver) {
        const int index = random.below(stage.subject.parameterCount());
        stage.subject.set(index, static_cast<float>(random.unit()));
        if (random.below(4) == 0) (void)stage.subject.get(index);
        if (random.below(8) == 0) stage.subject.text(vst::kEffectGetParameterDisplay, index);
        stage.changes++;
        std::this_thread::sleep_for(std::chrono::microseconds(random.below(2000)));
    }
}

void mainThread(Stage& stage, std::chrono::steady_clock::time_point end) {
    Subject& subject = stage.subject;
    Random random(1);
    Bytes chunks[] = {subject.chunk(false), subject.chunk(true)};
    while (std::chrono::steady_clock::now() < end) {
        const bool isProgram = random.below(2) != 0;
        switch (random.below(8)) {
        case 0:
        case 1:
            subject.load(isProgram, chunks[isProgram]);
            break;
        case 2:
            chunks[isProgram] = subject.chunk(isProgram);
            break;
        case 3:
            subject.suspend();
            subject.start(random.below(2) ? 44100 : 96000);
            break;
        case 4:
            subject.text(vst::kEffectGetProgramName);
            subject.send(vst::kEffectEditIdle);
            break;
        default:
            subject.send(vst::kEffectSetProgram, 0,
                         random.below(std::max(subject.effect().numPrograms, 1)));
        }
        stage.changes++;
        std::this_thread::sleep_for(std::chrono::microseconds(random.below(5000)));
    }
}

/// A switch that was set to something between its ends comes back at the end that it took.
std::string shownValues(const Subject& subject) {
    std::string all;
    for (int i = 0; i < subject.parameterCount(); i++)
        all += subject.text(vst::kEffectGetParameterDisplay, i) + " ";
    return all;
}

Outcome everythingAtOnce(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    subject.start(48000);
    Stage stage{subject};
    std::vector<std::thread> threads;
    threads.emplace_back([&] { audio(stage); });
    threads.emplace_back([&] { automation(stage, 2); });
    threads.emplace_back([&] { automation(stage, 3); });
    mainThread(stage, std::chrono::steady_clock::now() + std::chrono::seconds(task.threadSeconds));
    stage.isOver = true;
    for (auto& thread : threads) thread.join();
    Findings findings;
    findings.expect(stage.isFinite, "the output is not finite");
    // All quiet again: one state in, the same state out.
    const Bytes bank = subject.chunk(false);
    Subject other(module);
    findings.expect(other.restore(bank, subject.program()), "its last state is refused");
    findings.expect(shownValues(other) == shownValues(subject), "its last values are not restored");
    findings.expect(other.chunk(false) == bank, "its last state is not restored");
    return findings.outcome(text("%d s: %ld blocks, %ld changes", task.threadSeconds,
                                 stage.blocks.load(), stage.changes.load()));
}

} // namespace

std::span<const Check> threadChecks() {
    static constexpr Check kChecks[] = {
        {"Threads", "automationStatesProgramsAndAudioAtOnce", &everythingAtOnce, 30},
    };
    return kChecks;
}

} // namespace lum::validate
