// The convolution's inner loops against their plain twins, one channel of the convolver against an
// overlap-save on FFTW, and the making of a kernel.
#include "Audio/Filters/CAudioFilterFIRSplineGen.h"
#include "Audio/Filters/CDSPFIREQ.h"
#include "Audio/Processes/CDSPConvolver.h"
#include "Audio/Processes/CKernelPartitions.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/Transform/VectorCode.h"
#include "BenchHarness.h"

#include <cstring>
#include <fftw3.h>

using namespace lum;
using namespace lum::bench;

namespace {

constexpr int kBlock = 128; // samples a host block
const platform::CpuLevel kNarrow = std::min(platform::cpuLevel(), platform::CpuLevel::Avx2);

std::vector<double> noise(size_t count, unsigned state) {
    std::vector<double> data(count);
    for (double& value : data) {
        state = state * 1664525u + 1013904223u;
        value = static_cast<double>(state) * 0x1p-31 - 1.0;
    }
    return data;
}

/// Uniformly partitioned overlap-save as one would write it with FFTW: transforms of two blocks,
/// PATIENT plans, spectra of past blocks, a plain product loop.
class COverlapSave {
public:
    COverlapSave(const std::vector<double>& kernel, unsigned flags)
        : partitions((kernel.size() + kBlock - 1) / kBlock) {
        time = fftw_alloc_real(kSize);
        product = fftw_alloc_complex(kBins);
        there = fftw_plan_dft_r2c_1d(kSize, time, product, flags);
        back = fftw_plan_dft_c2r_1d(kSize, product, time, flags);
        for (size_t p = 0; p < partitions; p++) {
            std::fill_n(time, kSize, 0.0);
            for (size_t i = 0; i < kBlock && p * kBlock + i < kernel.size(); i++)
                time[i] = kernel[p * kBlock + i] / kSize;
            fftw_execute(there);
            responses.push_back(fftw_alloc_complex(kBins));
            std::memcpy(responses.back(), product, sizeof(fftw_complex) * kBins);
            history.push_back(fftw_alloc_complex(kBins));
            std::memset(history.back(), 0, sizeof(fftw_complex) * kBins);
        }
    }
    void process(const double* in, double* out) {
        std::memcpy(time, before, sizeof before);
        std::memcpy(time + kBlock, in, sizeof before);
        std::memcpy(before, in, sizeof before);
        newest = (newest + partitions - 1) % partitions;
        fftw_execute_dft_r2c(there, time, history[newest]);
        std::memset(product, 0, sizeof(fftw_complex) * kBins);
        for (size_t p = 0; p < partitions; p++) {
            const fftw_complex* x = history[(newest + p) % partitions];
            const fftw_complex* h = responses[p];
            for (size_t k = 0; k < kBins; k++) {
                product[k][0] += x[k][0] * h[k][0] - x[k][1] * h[k][1];
                product[k][1] += x[k][0] * h[k][1] + x[k][1] * h[k][0];
            }
        }
        fftw_execute(back);
        std::memcpy(out, time + kBlock, sizeof before);
    }

private:
    static constexpr int kSize = 2 * kBlock, kBins = kBlock + 1;
    size_t partitions, newest = 0;
    double before[kBlock] = {};
    double* time;
    fftw_complex* product;
    std::vector<fftw_complex*> responses, history;
    fftw_plan there, back;
};

/// So many cycles of the processor, as each addition waits for the one before.
void waitCycles(int cycles) {
    long x = 0;
    for (int i = 0; i < cycles / 20; i++) {
#define LUM_TEN(step) step step step step step step step step step step
        asm volatile(LUM_TEN("add $1, %0\n") LUM_TEN("add $1, %0\n") : "+r"(x));
#undef LUM_TEN
    }
}

void benchProducts() {
    constexpr int kPartitions = 5, kOrder = 8, kSize = (1 << kOrder) + 8;
    CSampleBlockPool pool; // its blocks begin on a cache line, as all spectra of the engine
    std::vector<CSampleBlockRef> blocks;
    auto spectrum = [&](unsigned seed) {
        blocks.push_back(pool.take(kSize));
        std::ranges::copy(noise(kSize, seed), blocks.back().samples());
        return blocks.back().samples();
    };
    std::vector<const double*> as, bs;
    for (unsigned j = 0; j < kPartitions; j++) {
        as.push_back(spectrum(j + 1));
        bs.push_back(spectrum(j + 101));
    }
    double* const out = spectrum(201);
    double* const packed = spectrum(202);
    const CVectorCode& best = vectorCodeOf(platform::cpuLevel());
    const CVectorCode& avx2 = vectorCodeOf(kNarrow);
    const CVectorCode& plain = vectorCodeOf(platform::CpuLevel::Plain);
    auto interleaved = [&] {
        for (int j = 0; j < kPartitions; j++)
            for (int k = 0; k < kSize - 8; k += 2) {
                packed[k] += as[j][k] * bs[j][k] - as[j][k + 1] * bs[j][k + 1];
                packed[k + 1] += as[j][k] * bs[j][k + 1] + as[j][k + 1] * bs[j][k];
            }
        keep(packed);
    };
    std::vector<CContestant> all = {
        {"loop over interleaved bins", interleaved},
        {"addProductComplex",
         [&] {
             for (int j = 0; j < kPartitions; j++)
                 best.addProductComplex(as[j], bs[j], packed, (kSize - 8) / 2);
             keep(packed);
         }},
        {"sumProducts, plain",
         [&] {
             plain.sumProducts(as.data(), bs.data(), kPartitions, out, kSize);
             keep(out);
         }},
        {"sumProducts, at most AVX2",
         [&] {
             avx2.sumProducts(as.data(), bs.data(), kPartitions, out, kSize);
             keep(out);
         }},
        {"sumProducts", [&] {
             best.sumProducts(as.data(), bs.data(), kPartitions, out, kSize);
             keep(out);
         }}};
    all.push_back({"1000 cycles", [] { waitCycles(1000); }});
    compare(all);
    std::printf("\nMultiply-accumulate of %d partitions at order %d, ns\n", kPartitions, kOrder);
    for (const CContestant& c : all)
        std::printf("  %-28s %8.0f  (%.2f of the loop)\n", c.name.c_str(), c.median, c.ratio);
    const double bins = kPartitions * (1 << kOrder) / 2;
    const double cycles = 1000.0 * medianRatio(all[4].times, all[5].times) / bins;
    std::printf("  sumProducts: %s; %.2f cycles a bin and partition, %s\n",
                verdict(all[4].ratio, 0.25).c_str(), cycles, verdict(cycles, 0.9).c_str());
}

/// Largest difference to the sum by definition, in extended precision, after one pass of `in`. The
/// kernel's magnitudes add up to at most 1, so full scale is 1.
double convolutionError(const std::vector<double>& kernel, const std::vector<double>& in) {
    CSampleBlockPool pool;
    CDSPConvolver ours(pool, kBlock, kernel.data(), static_cast<int>(kernel.size()));
    std::vector<double> out(in.size());
    ours.process(in.data(), out.data(), static_cast<int>(in.size()));
    double error = 0.0;
    for (size_t i = kernel.size() + kBlock; i < in.size(); i++) {
        long double want = 0.0L;
        for (size_t k = 0; k < kernel.size(); k++)
            want += static_cast<long double>(kernel[k]) * in[i - kBlock - k];
        error = std::max(error, std::abs(out[i] - static_cast<double>(want)));
    }
    return error;
}

void benchConvolver(int taps, double goal, unsigned flags) {
    std::vector<double> kernel = noise(static_cast<size_t>(taps), 5);
    for (double& tap : kernel) tap /= taps;
    const std::vector<double> in = noise(kBlock * 64, 6);
    std::vector<double> out(kBlock), want(kBlock);
    COverlapSave reference(kernel, flags);
    CSampleBlockPool pool;
    CDSPConvolver ours(pool, kBlock, kernel.data(), taps);
    CDSPConvolver narrow(pool, kBlock, kernel.data(), taps);
    size_t atOurs = 0, atNarrow = 0, atReference = 0;
    auto next = [&](size_t& at) { return in.data() + kBlock * (at++ % 64); };
    std::vector<CContestant> all = {{"FFTW",
                                     [&] {
                                         reference.process(next(atReference), want.data());
                                         keep(want.data());
                                     }},
                                    {"ours",
                                     [&] {
                                         ours.process(next(atOurs), out.data(), kBlock);
                                         keep(out.data());
                                     }},
                                    {"ours, at most AVX2", [&] {
                                         selectVectorCode(kNarrow);
                                         narrow.process(next(atNarrow), out.data(), kBlock);
                                         keep(out.data());
                                         selectVectorCode(platform::cpuLevel());
                                     }}};
    compare(all);
    std::printf("  %5d taps  %8.2f %8.2f  (%.2f)  at most AVX2 %8.2f  (%.2f)  %s", taps,
                all[0].median / kBlock, all[1].median / kBlock, all[1].ratio,
                all[2].median / kBlock, all[2].ratio, verdict(all[1].ratio, goal).c_str());
    std::printf("; error %.1e, goal 1e-13\n", convolutionError(kernel, in));
}

void benchDesign(double rate) {
    const auto start = Clock::now();
    CDSPFIREQ& design = CDSPFIREQ::get(rate, 0.012 * rate, 256, 20.0, 20000.0, true);
    const double buildMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    std::vector<double> gains(256, 1.0), kernel(static_cast<size_t>(design.getKernelLength()));
    double value = 1.0;
    auto make = [&](int from, int to) {
        value += 1e-9;
        std::fill(gains.begin() + from, gains.begin() + to, value);
        design.makeKernel(gains.data(), kernel.data(), false, 0);
    };
    CSampleBlockPool pool;
    CKernelPartitions partitions;
    std::vector<CContestant> all = {
        {"all gains move", [&] { make(0, 256); }},
        {"one band of 16 moves", [&] { make(100, 168); }},
        {"nothing moves", [&] { design.makeKernel(gains.data(), kernel.data(), false, 0); }},
        {"division and transforms", [&] {
             partitions.fill(pool, kBlock, kernel.data(), design.getKernelLength());
             keep(partitions.getStages()[0].spectra[0]);
         }}};
    compare(all);
    std::printf("  %6.0f Hz", rate);
    for (const CContestant& c : all) std::printf("  %s %.1f", c.name.c_str(), c.median / 1000.0);
    std::printf("\n             table %.2f ms, %s\n", buildMs, verdict(buildMs, 5.0).c_str());
}

} // namespace

int main(int argc, char** argv) {
    const unsigned flags =
        argc > 1 && std::strcmp(argv[1], "--quick") == 0 ? FFTW_MEASURE : FFTW_PATIENT;
    pinToOneCore();
    benchProducts();
    std::puts("\nOne channel, host blocks of 128, ns a sample: overlap-save on FFTW, ours, ratio");
    benchConvolver(529, 0.6, flags);
    benchConvolver(1151, 0.6, flags);
    benchConvolver(2303, 0.5, flags);
    std::puts("\nOne kernel, microseconds");
    for (double rate : {44100.0, 96000.0, 192000.0}) benchDesign(rate);
}
