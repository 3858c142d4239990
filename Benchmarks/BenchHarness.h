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
/// the median of its undisturbed batches, those within a fifth of its fastest quarter.
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
};

inline double undisturbedMedian(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const double limit = times[times.size() / 4] * 1.2;
    const auto end = std::upper_bound(times.begin(), times.end(), limit);
    return times[static_cast<size_t>(end - times.begin()) / 2];
}

inline double timeBatch(const CContestant& contestant, int runs) {
    const auto start = Clock::now();
    for (int i = 0; i < runs; i++) contestant.run();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / runs;
}

/// Runs all in turn, `batches` batches of about `batchNs` each, and fills in the medians.
inline void compare(std::vector<CContestant>& contestants, int batches = 60,
                    double batchNs = 200000.0) {
    std::vector<int> runs;
    for (CContestant& contestant : contestants) {
        timeBatch(contestant, 3);
        runs.push_back(
            std::max(1, static_cast<int>(batchNs / std::max(timeBatch(contestant, 10), 1.0))));
    }
    for (int batch = 0; batch < batches; batch++)
        for (size_t i = 0; i < contestants.size(); i++)
            contestants[i].times.push_back(timeBatch(contestants[i], runs[i]));
    for (CContestant& contestant : contestants)
        contestant.median = undisturbedMedian(contestant.times);
}

} // namespace lum::bench
