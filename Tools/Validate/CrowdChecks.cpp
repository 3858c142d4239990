// Many instances, and many loads.

#include "Validate/Check.h"
#include "Validate/ProcessState.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <malloc.h>
#include <memory>

namespace lum::validate {

namespace {

constexpr int kInstances = 100;
constexpr double kMostMs = 3.0;
constexpr std::int64_t kMiB = 1 << 20;
constexpr std::int64_t kMostLeft = 65536; // bytes
constexpr double kRates[] = {44100, 48000, 88200, 96000, 192000};

double milliseconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

std::int64_t heldBytes() {
    malloc_trim(0);
    return anonymousBytes();
}

struct Crowd {
    std::vector<std::unique_ptr<Subject>> members;
    std::vector<double> times; // ms of each after the first, as the clock on the wall goes
    double processorMs = 0.0;  // of each, whoever else uses the machine
    std::int64_t bytesEach = 0;
};

/// A whole life of the plug-in's file.
void once(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    subject.start(48000);
    render(subject, noise<float>(subject.inputs(), 512));
}

/// Instances that run, at one rate after the other.
Crowd gather(const host::PluginModule& module) {
    Crowd crowd;
    crowd.members.reserve(kInstances + 1); // room that is not the plug-in's
    crowd.times.reserve(kInstances);
    std::int64_t first = 0;
    std::clock_t begun = 0;
    for (int i = 0; i <= kInstances; i++) {
        const auto begin = std::chrono::steady_clock::now();
        crowd.members.push_back(std::make_unique<Subject>(module));
        crowd.members.back()->start(kRates[i % std::ssize(kRates)]);
        const double time = milliseconds(std::chrono::steady_clock::now() - begin);
        if (i > 0) crowd.times.push_back(time);
        if (i > 0) continue;
        first = heldBytes();
        begun = std::clock();
    }
    crowd.processorMs =
        static_cast<double>(std::clock() - begun) * 1000.0 / CLOCKS_PER_SEC / kInstances;
    crowd.bytesEach = (heldBytes() - first) / kInstances;
    return crowd;
}

Outcome hundredInstances(const Task& task) {
    Findings findings;
    once(task); // what the system keeps for a first time is not the plug-in's
    const std::int64_t before = heldBytes();
    double mean = 0.0;
    double worst = 0.0;
    double median = 0.0;
    std::int64_t bytes = 0;
    std::int64_t kept = 0;
    {
        const host::PluginModule module(task.plugin);
        Crowd crowd = gather(module);
        bytes = crowd.bytesEach;
        std::ranges::sort(crowd.times);
        mean = crowd.processorMs;
        median = crowd.times[kInstances / 2];
        worst = crowd.times.back();
        const auto input = noise<float>(crowd.members[0]->inputs(), 512);
        for (auto& member : crowd.members) render(*member, input);
        crowd.members.clear();
        kept = heldBytes() - before;
    }
    const std::int64_t left = heldBytes() - before;
    findings.expect(mean <= kMostMs, text("%.2f ms each", mean));
    findings.expect(bytes <= kMiB, text("%lld KiB each", static_cast<long long>(bytes / 1024)));
    findings.expect(left <= kMostLeft,
                    text("%lld KiB are left", static_cast<long long>(left / 1024)));
    return findings.outcome(
        text("%.2f ms each (by the wall: middle %.2f, worst %.1f), %lld KiB each; %lld KiB "
             "held while loaded, %lld KiB left",
             mean, median, worst, static_cast<long long>(bytes / 1024),
             static_cast<long long>(kept / 1024), static_cast<long long>(left / 1024)));
}

/// What stays with the loaded file is kept for the next ones, and does not grow.
Outcome crowdsInTurn(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    const auto crowd = [&] {
        Crowd all = gather(module);
        const auto input = noise<float>(all.members[0]->inputs(), 512);
        for (auto& member : all.members) render(*member, input);
    };
    crowd();
    crowd();
    const std::int64_t before = heldBytes();
    const int crowds = task.count(3, 100);
    for (int i = 0; i < crowds; i++) crowd();
    const std::int64_t grown = heldBytes() - before;
    findings.expect(grown <= kMostLeft,
                    text("%lld KiB more", static_cast<long long>(grown / 1024)));
    return findings.outcome(
        text("%lld KiB more after %d crowds of 100", static_cast<long long>(grown / 1024), crowds));
}

Outcome loadAndUnload(const Task& task) {
    Findings findings;
    for (int i = 0; i < 20; i++) once(task);
    const std::int64_t before = heldBytes();
    const int threads = countThreads();
    const int descriptors = countDescriptors();
    const auto begin = std::chrono::steady_clock::now();
    const int loads = task.count(200, 5000);
    for (int i = 0; i < loads; i++) once(task);
    const double each = milliseconds(std::chrono::steady_clock::now() - begin) / loads;
    const std::int64_t grown = heldBytes() - before;
    findings.expect(grown <= kMostLeft,
                    text("%lld KiB are left", static_cast<long long>(grown / 1024)));
    findings.expect(countThreads() == threads, "a thread is left");
    findings.expect(countDescriptors() == descriptors, "a descriptor is left");
    return findings.outcome(text("%d times, %.1f ms each with a block, %lld KiB left", loads, each,
                                 static_cast<long long>(grown / 1024)));
}

} // namespace

std::span<const Check> crowdChecks() {
    static constexpr Check kChecks[] = {
        {"Crowds", "aHundredInstances", &hundredInstances, 30},
        {"Crowds", "crowdsInTurnDoNotGrow", &crowdsInTurn, 60},
        {"Crowds", "loadedAndUnloadedManyTimes", &loadAndUnload, 60},
    };
    return kChecks;
}

} // namespace lum::validate
