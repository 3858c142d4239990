#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <sched.h>
#include <string>
#include <vector>

/// A small harness for comparisons: the contestants run in turn, batch by batch, on one core, so
/// that all see the same clock frequency and the same disturbances. The figure of a contestant is
/// the median of its undisturbed batches, those within a fifth of its fastest quarter. Its ratio is
/// the median over the rounds of its time by that of the first contestant: that holds on a busy
/// machine too, as both times of a round meet the same load.
namespace lum::bench {

using Clock = std::chrono::steady_clock;

inline void pinToOneCore() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(sched_getcpu() < 0 ? 0 : sched_getcpu(), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) std::puts("(not pinned to a core)");
}

/// Keeps the compiler from dropping work whose result nobody reads.
inline void keep(const void* data) {
    asm volatile("" : : "g"(data) : "memory");
}

struct CContestant {
    std::string name;
    std::function<void()> run;
    std::vector<double> times = {}; // ns per run, one per batch
    double median = 0.0;
    double ratio = 1.0; // to the first contestant
};

/// A row's verdict: "goal 0.60, met".
inline std::string verdict(double value, double goal) {
    char text[64];
    std::snprintf(text, sizeof text, "goal %.2f, %s", goal, value <= goal ? "met" : "missed");
    return text;
}

inline double undisturbedMedian(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const double limit = times[times.size() / 4] * 1.2;
    const auto end = std::upper_bound(times.begin(), times.end(), limit);
    return times[static_cast<size_t>(end - times.begin()) / 2];
}

inline double medianRatio(const std::vector<double>& times, const std::vector<double>& base) {
    std::vector<double> ratios(times.size());
    for (size_t i = 0; i < times.size(); i++) ratios[i] = times[i] / base[i];
    std::sort(ratios.begin(), ratios.end());
    return ratios[ratios.size() / 2];
}

inline double timeBatch(const CContestant& contestant, int runs) {
    const auto start = Clock::now();
    for (int i = 0; i < runs; i++) contestant.run();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / runs;
}

/// Runs all in turn, `batches` batches of about `batchNs` each, and fills in medians and ratios.
inline void compare(std::vector<CContestant>& contestants, int batches = 200,
                    double batchNs = 40000.0) {
    std::vector<int> runs;
    for (CContestant& contestant : contestants) {
        timeBatch(contestant, 3);
        runs.push_back(
            std::max(1, static_cast<int>(batchNs / std::max(timeBatch(contestant, 10), 1.0))));
    }
    for (int batch = 0; batch < batches; batch++)
        for (size_t i = 0; i < contestants.size(); i++)
            contestants[i].times.push_back(timeBatch(contestants[i], runs[i]));
    for (CContestant& contestant : contestants) {
        contestant.median = undisturbedMedian(contestant.times);
        contestant.ratio = medianRatio(contestant.times, contestants[0].times);
    }
}

} // namespace lum::bench
