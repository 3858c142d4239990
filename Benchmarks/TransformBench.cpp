// Forward plus inverse real transform, 64-bit, against FFTW (PATIENT, out of place) in one run.
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/VectorCode.h"
#include "BenchHarness.h"

#include <cstdlib>
#include <cstring>
#include <fftw3.h>

using namespace lum;
using namespace lum::bench;

namespace {

using Level = platform::CpuLevel;

/// From the beginning of a cache line on, as all arrays of the engine.
double* makeNoise(int size) {
    double* data =
        static_cast<double*>(std::aligned_alloc(64, (static_cast<size_t>(size) + 16) * 8));
    unsigned state = 1;
    for (int i = 0; i < size + 16; i++) {
        state = state * 1664525u + 1013904223u;
        data[i] = static_cast<double>(state) * 0x1p-31 - 1.0;
    }
    return data;
}

/// FFTW's own round trip, out of place both ways.
struct CReference {
    explicit CReference(int n, unsigned flags)
        : size(n),
          time(makeNoise(n)),
          bins(fftw_alloc_complex(static_cast<size_t>(n) / 2 + 1)),
          back(makeNoise(n)),
          there(fftw_plan_dft_r2c_1d(n, time, bins, flags)),
          home(fftw_plan_dft_c2r_1d(n, bins, back, flags)) {}
    void run() {
        fftw_execute(there);
        fftw_execute(home);
    }
    int size;
    double* time;
    fftw_complex* bins;
    double* back;
    fftw_plan there, home;
};

/// Tables and work buffer together; the median of some, the first of which also brings in the code.
double makeTimeMs(int order) {
    std::vector<double> times;
    for (int i = 0; i < 5; i++) {
        CFFTPlan::finishService(); // so that the tables are made anew
        const auto start = Clock::now();
        CFFTPlan* plan = CFFTPlan::acquire(order);
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        CFFTPlan::release(plan);
    }
    std::sort(times.begin(), times.end());
    return times[2];
}

/// The data is made anew now and then: round trips without scaling would run into infinity.
struct COurs {
    explicit COurs(int order)
        : plan(CFFTPlan::acquire(order)),
          fresh(makeNoise(plan->getSize())),
          data(makeNoise(plan->getSize())),
          spectrum(makeNoise(plan->getSize())) {}
    void packed() {
        if (++runs % 32 == 0)
            std::memcpy(data, fresh, sizeof(double) * static_cast<size_t>(plan->getSize()));
        plan->forward(data);
        plan->inverse(data);
        keep(data);
    }
    void blocked() {
        plan->forwardBlocked(fresh, fresh + plan->getSize() / 2, spectrum);
        plan->inverseBlocked(spectrum, data);
        keep(data);
    }
    CFFTPlan* plan;
    double* fresh;
    double* data;
    double* spectrum;
    int runs = 0;
};

} // namespace

int main(int argc, char** argv) {
    const bool isQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    pinToOneCore();
    std::printf("Forward + inverse real transform, ns (ratio to FFTW, %s)\n",
                isQuick ? "MEASURE" : "PATIENT");
    std::printf("%5s %9s %16s %16s %16s %16s %9s\n", "order", "FFTW", "packed", "blocked",
                "blocked AVX2", "plain", "plan ms");
    double logSum = 0.0;
    for (int order = CFFTPlan::kMinOrder; order <= 15; order++) {
        const double planMs = makeTimeMs(order);
        CReference reference(1 << order, isQuick ? FFTW_MEASURE : FFTW_PATIENT);
        COurs ours(order);
        auto withCode = [&](Level level, auto body) {
            selectVectorCode(level);
            body();
        };
        const Level best = platform::cpuLevel();
        std::vector<CContestant> all = {
            {"FFTW", [&] { reference.run(); }},
            {"packed", [&] { withCode(best, [&] { ours.packed(); }); }},
            {"blocked", [&] { withCode(best, [&] { ours.blocked(); }); }},
            {"blocked AVX2",
             [&] { withCode(std::min(best, Level::Avx2), [&] { ours.blocked(); }); }},
            {"plain", [&] { withCode(Level::Plain, [&] { ours.packed(); }); }}};
        compare(all, isQuick ? 60 : 200);
        std::printf("%5d %9.0f", order, all[0].median);
        for (size_t i = 1; i < all.size(); i++)
            std::printf(" %9.0f (%4.2f)", all[i].median, all[i].ratio);
        std::printf(" %9.3f  %s", planMs, verdict(all[1].ratio, 1.0).c_str());
        if (order <= 13) std::printf("; plan %s", verdict(planMs, 1.0).c_str());
        std::puts("");
        if (order >= 7 && order <= 11) logSum += std::log(all[1].ratio);
    }
    const double mean = std::exp(logSum / 5.0);
    std::printf("geometric mean of the packed ratio, orders 7 to 11: %.2f  %s\n", mean,
                verdict(mean, 0.9).c_str());
}
