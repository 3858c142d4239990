/// The measure of a click: what a change adds outside the neighbourhood of the tones that play.
#pragma once

#include <array>
#include <span>
#include <vector>

namespace lum::validate {

constexpr double kStrayDistances[] = {300.0, 1000.0, 3000.0}; // Hz from the nearest tone
/// For each distance, the energy further from every tone, in dB of a tone of level 1.
using StrayEnergy = std::array<double, std::size(kStrayDistances)>;

/// Seen through a Kaiser window whose side lobes lie 190 dB down: of 16,384 frames the tones
/// themselves stay within 30 Hz, and the middle counts most.
/// samples: [N]. rate, tones: Hz.
StrayEnergy strayEnergyOf(std::span<const double> samples, double rate,
                          std::span<const double> tones);

/// A change from one signal to another, or back.
struct Crossover {
    int begin = 0;       // frame
    double length = 0.0; // frames
};

/// The ideal of a change there, one back, and so on: each crosses over by the raised cosine.
/// first, second: [N], what is heard before and behind the first change.
std::vector<double> morphOf(std::span<const double> first, std::span<const double> second,
                            std::span<const Crossover> changes);

} // namespace lum::validate
