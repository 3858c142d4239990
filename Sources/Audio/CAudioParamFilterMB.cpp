#include "Audio/CAudioParamFilterMB.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

using CBandList = CVector<double, 16>; // Hz, ascending

constexpr double kDefaultLowest = 20.0;                                                  // Hz
constexpr double kDefaultHighest = 20000.0;                                              // Hz
constexpr double kIsoAnchor = 1000.0;                                                    // Hz
constexpr double kIsoSpacings[] = {1.0 / 3.0, 0.5, 2.0 / 3.0, 0.75, 1.0, 1.5, 2.0, 2.5}; // octaves
constexpr int kLastIsoSpacing = static_cast<int>(std::size(kIsoSpacings)) - 1;

struct CBandRange {
    double lowest;
    double highest;
};

double readSource(const CAudioParamFilter::CParamList& from, int index, int group,
                  double unlisted) {
    return index < from.ssize() ? from[index]->getValues().read(group, 0, 1.0) : unlisted;
}

CBandRange readRange(const CAudioParamFilter::CParamList& from, int group) {
    double lowest = readSource(from, 1, group, kDefaultLowest);
    double highest = readSource(from, 2, group, kDefaultHighest);
    if (isEqualReal(lowest, highest)) highest *= 1.1;
    return {std::min(lowest, highest), std::max(lowest, highest)};
}

/// Bands at equal distances on a logarithmic axis. Fewer than three bands give one.
CBandList spreadBands(int count, const CBandRange& range) {
    CBandList bands;
    if (count < 3) {
        bands.push_back(range.lowest);
        return bands;
    }
    double ratio =
        std::exp(std::log(range.highest / range.lowest) / (count - 1) + std::log(range.lowest)) /
        range.lowest;
    double frequency = range.lowest;
    for (int i = 0; i < std::min(count, kMaxParamGroupValues); i++, frequency *= ratio)
        bands.push_back(frequency);
    return bands;
}

/// Bands at a standard spacing around 1 kHz, within the range.
CBandList isoBands(int spacing, const CBandRange& range) {
    double ratio = std::exp(std::log(2.0) * kIsoSpacings[std::clamp(spacing, 0, kLastIsoSpacing)]);
    CBandList bands;
    for (double f = kIsoAnchor; f >= range.lowest && bands.ssize() < kMaxParamGroupValues;
         f /= ratio)
        bands.push_back(f);
    std::reverse(bands.begin(), bands.end());
    for (double f = kIsoAnchor * ratio; f <= range.highest && bands.ssize() < kMaxParamGroupValues;
         f *= ratio)
        bands.push_back(f);
    return bands;
}

} // namespace

void CAudioParamFilterMB::process(const CParamList& from, const CParamList& to,
                                  const CAudioParamChange& change, const CChangeContext& context) {
    const int group = change.group == kDefinitionGroup ? 0 : change.group;
    const int number = roundToInt(readSource(from, 0, group, 1.0));
    const CBandRange range = readRange(from, group);
    const CBandList bands = getDefinition().getAttrBool("is-iso") ? isoBands(number, range)
                                                                  : spreadBands(number, range);
    writeValues(*to[0], change.group, bands.data(), bands.ssize(), change, context);
    if (to.ssize() < 4) return;
    double count = static_cast<double>(bands.ssize());
    writeValues(*to[3], change.group, &count, 1, change, context);
}

std::unique_ptr<CAudioParamFilter> CAudioParamFilterMBDef::createFilter() const {
    return std::make_unique<CAudioParamFilterMB>();
}

} // namespace lum
