// What the audio thread may not do. The guard stands before the C library's functions for this
// whole program, the kernel's filter behind all of them.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#ifndef LUM_NO_GUARD
#include "Guard/RealtimeGuard.h"
#include "Guard/SystemCallTrap.h"
#endif

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

namespace lum::validate {

namespace {

#ifdef LUM_NO_GUARD

Outcome noGuard(const Task&) {
    return skip("this build has a sanitizer where the guard would be");
}

constexpr Check kChecks[] = {{"Realtime", "blocksDoNotTouchTheSystem", &noGuard, 1}};

#else

constexpr int kBlock = 64; // frames
constexpr double kRates[] = {32000, 44100, 48000, 88200, 96000, 176400, 192000};

/// An instance at one rate, and buffers for a block.
class Player {
public:
    Player(const host::PluginModule& module, double rate)
        : subject_(module),
          input_(noise<float>(subject_.inputs(), kBlock)),
          output_(silence<float>(subject_.outputs(), kBlock)) {
        subject_.start(rate, kBlock);
        for (auto& channel : input_) in_.push_back(channel.data());
        for (auto& channel : output_) out_.push_back(channel.data());
    }
    void play() { subject_.process(in_.data(), out_.data(), kBlock); }
    Subject& subject() { return subject_; }
    void changeParameter() {
        subject_.set(random_.below(subject_.parameterCount()), static_cast<float>(random_.unit()));
    }
    void changeProgram() {
        const int programs = std::max(subject_.effect().numPrograms, 1);
        subject_.send(vst::kEffectSetProgram, 0, random_.below(programs));
    }

private:
    Subject subject_;
    Planar<float> input_, output_;
    std::vector<float*> in_, out_;
    Random random_{5};
};

/// Plays blocks under the guard, with `change` before each one.
template <class Change>
void guardBlocks(Player& player, int blocks, const std::string& when, Findings& findings,
                 Change change) {
    test::RealtimeGuard::forget();
    for (int i = 0; i < blocks && test::RealtimeGuard::violations() == 0; i++) {
        change(player);
        const test::RealtimeGuard guard;
        player.play();
    }
    if (test::RealtimeGuard::violations() == 0) return;
    const std::string report = test::RealtimeGuard::report();
    std::fprintf(stderr, "%s\n", report.c_str());
    findings.expect(false, when + ": " + report.substr(0, report.find('\n')));
}

template <class Change>
Outcome guardAllRates(const Task& task, int blocks, const char* what, Change change) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    for (const double rate : kRates) {
        Player player(module, rate);
        guardBlocks(player, blocks, text("%g Hz", rate), findings, change);
    }
    return findings.outcome(
        text("%d blocks at each of %zu rates, %s", blocks, std::size(kRates), what));
}

Outcome steadyBlocks(const Task& task) {
    return guardAllRates(task, task.count(20000, 1000000), "32 to 192 kHz", [](Player&) {});
}

Outcome changingBlocks(const Task& task) {
    return guardAllRates(task, task.count(3000, 200000), "a parameter changed before each",
                         [](Player& player) { player.changeParameter(); });
}

Outcome programBlocks(const Task& task) {
    return guardAllRates(task, task.count(300, 50000), "a program changed before each",
                         [](Player& player) { player.changeProgram(); });
}

/// The host's main thread changes, the audio thread plays, in turns handed over by an atomic.
class Turns {
public:
    Turns(const host::PluginModule& module, double rate, int blocks)
        : player_(module, rate), blocks_(blocks) {
        std::thread([this] { controlLoop(); }).detach(); // ends with its process
    }
    void audioLoop() {
        for (int block = 0; block < blocks_; block++) {
            turn_.store(2 * block + 1, std::memory_order_release);
            while (turn_.load(std::memory_order_acquire) != 2 * block + 2) __builtin_ia32_pause();
            player_.play();
        }
    }

private:
    void controlLoop() {
        for (int block = 0; block < blocks_; block++) {
            while (turn_.load(std::memory_order_acquire) != 2 * block + 1)
                std::this_thread::yield();
            if (block % 2) player_.changeParameter();
            turn_.store(2 * block + 2, std::memory_order_release);
        }
    }

    Player player_;
    int blocks_;
    std::atomic<int> turn_{0}; // odd: the control side's, even: the audio side's
};

Outcome systemCalls(const Task& task) {
    Findings findings;
    const int blocks = task.count(1000, 20000);
    for (const double rate : {32000.0, 48000.0, 192000.0}) {
        Turns* turns = nullptr;
        host::PluginModule* module = nullptr;
        const auto result = test::trapSystemCalls(
            [&] {
                module = new host::PluginModule(task.plugin);
                turns = new Turns(*module, rate, blocks);
            },
            [&] { turns->audioLoop(); });
        findings.expect(result.isClean, text("%g Hz: %s", rate, result.report.c_str()));
    }
    return findings.outcome(
        text("%d blocks at each of 3 rates under a filter of the kernel", blocks));
}

constexpr Check kChecks[] = {
    {"Realtime", "steadyBlocksDoNotTouchTheSystem", &steadyBlocks, 60},
    {"Realtime", "parameterChangesDoNotTouchTheSystem", &changingBlocks, 60},
    {"Realtime", "programChangesDoNotTouchTheSystem", &programBlocks, 60},
    {"Realtime", "blocksMakeNoSystemCall", &systemCalls, 60},
};

#endif

} // namespace

std::span<const Check> realtimeChecks() {
    return kChecks;
}

} // namespace lum::validate
