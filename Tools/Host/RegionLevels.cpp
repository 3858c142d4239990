#include "Host/RegionLevels.h"

#include "Host/AudioFile.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lum::host {

namespace {

constexpr RegionLevel kRegions[] = {
    {"lows", 0.0, 200.0, 0.0},   {"mids", 200.0, 2000.0, 0.0}, {"presence", 2000.0, 6000.0, 0.0},
    {"highs", 6000.0, 0.0, 0.0}, {"all", 0.0, 0.0, 0.0},
};
constexpr std::int64_t kReadFrames = 4096;
constexpr double kFloor = 1e-20; // power of silence, -200 dB

/// A second-order section, transposed direct form II.
struct Section {
    double b0, b1, b2, a1, a2;
    double s1 = 0.0;
    double s2 = 0.0;

    double run(double x) {
        const double y = b0 * x + s1;
        s1 = b1 * x - a1 * y + s2;
        s2 = b2 * x - a2 * y;
        return y;
    }
};

/// Butterworth low-pass or high-pass of second order, by the bilinear transform with the cutoff
/// frequency kept. Source: R. Bristow-Johnson, Cookbook formulae for audio EQ biquad coefficients.
Section butterworth(double cutoffHz, double sampleRate, bool isHighPass) {
    const double omega = 2.0 * std::numbers::pi * cutoffHz / sampleRate;
    const double alpha = std::sin(omega) / std::numbers::sqrt2;
    const double cosine = std::cos(omega);
    const double edge = isHighPass ? 1.0 + cosine : 1.0 - cosine;
    const double a0 = 1.0 + alpha;
    return {edge / 2.0 / a0, (isHighPass ? -edge : edge) / a0, edge / 2.0 / a0, -2.0 * cosine / a0,
            (1.0 - alpha) / a0};
}

/// The filters of one region for one channel; each edge is two sections, 24 dB an octave.
std::vector<Section> regionFilters(const RegionLevel& region, double sampleRate) {
    std::vector<Section> sections;
    for (int i = 0; i < 2; ++i) {
        if (region.lowHz > 0.0) sections.push_back(butterworth(region.lowHz, sampleRate, true));
        if (region.highHz > 0.0) sections.push_back(butterworth(region.highHz, sampleRate, false));
    }
    return sections;
}

} // namespace

std::vector<RegionLevel> regionLevels(const std::filesystem::path& path) {
    AudioReader reader(path);
    std::vector<RegionLevel> regions;
    for (const auto& region : kRegions) {
        // A file of a low rate has nothing in the regions above its half.
        if (std::max(region.lowHz, region.highHz) < reader.sampleRate() / 2.0) {
            regions.push_back(region);
        }
    }
    const auto channels = static_cast<std::size_t>(reader.channels());
    std::vector<std::vector<Section>> filters; // [region * channels + channel]
    for (const auto& region : regions) {
        filters.insert(filters.end(), channels, regionFilters(region, reader.sampleRate()));
    }
    std::vector<double> energy(regions.size(), 0.0);
    std::vector<double> samples(kReadFrames * channels);
    std::size_t count = 0;
    for (std::int64_t got = 1; (got = reader.read(samples.data(), kReadFrames)) > 0;) {
        const std::size_t used = static_cast<std::size_t>(got) * channels;
        count += used;
        for (std::size_t i = 0; i < used; ++i) {
            for (std::size_t r = 0; r < regions.size(); ++r) {
                double value = samples[i];
                for (auto& section : filters[r * channels + i % channels])
                    value = section.run(value);
                energy[r] += value * value;
            }
        }
    }
    for (std::size_t r = 0; r < regions.size(); ++r) {
        const double power = count > 0 ? energy[r] / static_cast<double>(count) : 0.0;
        regions[r].levelDb = 10.0 * std::log10(std::max(power, kFloor));
    }
    return regions;
}

} // namespace lum::host
