#include "Validate/StrayEnergy.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <fftw3.h>
#include <numbers>

namespace lum::validate {

namespace {

/// The modified Bessel function of the first kind, order 0, by its power series.
double bessel(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; k < 80; k++) {
        term *= x / (2.0 * k) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

/// Bins 0 to N / 2, scaled so that a tone of level 1 has a bin of about that size.
std::vector<std::complex<double>> spectrumOf(std::span<const double> samples) {
    constexpr double kBeta = 26.0;
    const auto size = static_cast<double>(samples.size());
    std::vector<double> windowed(samples.begin(), samples.end());
    for (std::size_t i = 0; i < windowed.size(); i++) {
        const double x = 2.0 * (static_cast<double>(i) + 0.5) / size - 1.0;
        windowed[i] *= 2.0 / size * bessel(kBeta * std::sqrt(1.0 - x * x)) / bessel(kBeta);
    }
    std::vector<std::complex<double>> bins(samples.size() / 2 + 1);
    fftw_plan plan = fftw_plan_dft_r2c_1d(static_cast<int>(windowed.size()), windowed.data(),
                                          reinterpret_cast<fftw_complex*>(bins.data()),
                                          FFTW_ESTIMATE | FFTW_PRESERVE_INPUT);
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    return bins;
}

} // namespace

StrayEnergy strayEnergyOf(std::span<const double> samples, double rate,
                          std::span<const double> tones) {
    const auto bins = spectrumOf(samples);
    StrayEnergy energies;
    energies.fill(1e-40); // far below what is ever heard
    for (std::size_t bin = 1; bin + 1 < bins.size(); bin++) {
        const double hz = static_cast<double>(bin) * rate / static_cast<double>(samples.size());
        double nearest = rate;
        for (const double tone : tones) nearest = std::min(nearest, std::abs(hz - tone));
        for (std::size_t d = 0; d < energies.size(); d++)
            if (nearest > kStrayDistances[d]) energies[d] += std::norm(bins[bin]);
    }
    for (double& energy : energies) energy = 10.0 * std::log10(energy);
    return energies;
}

std::vector<double> morphOf(std::span<const double> first, std::span<const double> second,
                            std::span<const Crossover> changes) {
    std::vector<double> out;
    out.reserve(first.size());
    for (std::size_t i = 0; i < first.size(); i++) {
        double share = 0.0; // of the second
        for (std::size_t c = 0; c < changes.size(); c++) {
            const double behind = static_cast<double>(i) - changes[c].begin;
            const double step =
                0.5 -
                0.5 * std::cos(std::numbers::pi * std::clamp(behind / changes[c].length, 0., 1.));
            share += c % 2 == 0 ? step : -step;
        }
        out.push_back((1.0 - share) * first[i] + share * second[i]);
    }
    return out;
}

} // namespace lum::validate
