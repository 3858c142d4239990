#include "Other/CDynamicColorData.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kEqualWithin = 2.220446e-16; // times the sum of the magnitudes
constexpr int64_t kRampBytes = 776;           // of a stored ramp

bool isEqual(double a, double b) {
    return std::abs(a - b) <= (std::abs(a) + std::abs(b)) * kEqualWithin;
}

uint32_t blendTones(uint32_t from, uint32_t to, double part) {
    uint32_t out = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const double a = from >> shift & 255;
        const double b = to >> shift & 255;
        out |= static_cast<uint32_t>(std::lround(a + (b - a) * part)) << shift;
    }
    return out;
}

} // namespace

bool CColorValues::isSame(const CColorValues& other) const {
    return isEqual(brightness, other.brightness) && isEqual(contrast, other.contrast) &&
           isEqual(hoverBrightness, other.hoverBrightness) && isEqual(opacity, other.opacity) &&
           tone == other.tone && tone2 == other.tone2 && tone3 == other.tone3;
}

void CDynamicColorData::setForm(int gradientSize, bool isHoverable) {
    const auto count = static_cast<size_t>(std::max(gradientSize, 1));
    if (ramps.size() == count && (hover != nullptr) == isHoverable) return;
    computed = false;
    ramps.resize(std::min(count, ramps.size()));
    while (ramps.size() < count) ramps.push_back(std::make_unique<CColor>());
    if (!isHoverable)
        hover.reset();
    else if (!hover)
        hover = std::make_unique<CColor>();
}

bool CDynamicColorData::setValues(const CColorValues& newValues) {
    if (computed && values.isSame(newValues)) return false;
    values = newValues;
    computed = true;
    for (int k = 0; k < ramps.ssize(); k++)
        ramps[k]->compute(toneAt(k), values.contrast, values.opacity, values.brightness);
    if (hover)
        hover->compute(values.tone, values.contrast, values.opacity,
                       values.brightness + values.hoverBrightness);
    return true;
}

uint32_t CDynamicColorData::toneAt(int ramp) const {
    if (ramps.size() == 1 || values.tone2 == kNoTone) return values.tone;
    const double part = ramp / (ramps.ssize() - 1.0);
    if (values.tone3 == kNoTone) return blendTones(values.tone, values.tone2, part);
    return part < 0.5 ? blendTones(values.tone, values.tone2, part * 2.0)
                      : blendTones(values.tone2, values.tone3, (part - 0.5) * 2.0);
}

const CColor* CDynamicColorData::getRamp(double position) const {
    if (ramps.empty()) return nullptr;
    const bool isInside = position >= 0.0 && position <= 1.0;
    return ramps[isInside ? std::lround((ramps.ssize() - 1) * position) : 0].get();
}

CErrorResult CDynamicColorData::save(COutputStream& stream) const {
    const double reals[4] = {values.brightness, values.contrast, values.hoverBrightness,
                             values.opacity};
    const uint32_t tones[3] = {values.tone, values.tone2, values.tone3};
    LUM_TRY(stream.write(reals, sizeof reals));
    LUM_TRY(stream.write(tones, sizeof tones));
    LUM_TRY(stream.writeValue(static_cast<uint32_t>(ramps.size())));
    for (const auto& ramp : ramps) LUM_TRY(ramp->save(stream));
    if (hover) LUM_TRY(hover->save(stream));
    return nullptr;
}

CErrorResult CDynamicColorData::load(CInputStream& stream, bool isHoverable) {
    double reals[4] = {};
    uint32_t tones[3] = {};
    uint32_t count = 0;
    LUM_TRY(stream.read(reals, sizeof reals));
    LUM_TRY(stream.read(tones, sizeof tones));
    LUM_TRY(stream.readValue(count));
    const int64_t left = stream.bytesLeft();
    if (count == 0 || (left >= 0 && count > static_cast<uint64_t>(left / kRampBytes)))
        return LUM_FAIL("@lumstr_CDynamicColorData_load_InvalidCount Invalid number of color ramps "
                        "%1.",
                        count);
    setForm(static_cast<int>(std::min<uint32_t>(count, INT32_MAX)), isHoverable);
    computed = false;
    for (const auto& ramp : ramps) LUM_TRY(ramp->load(stream));
    if (hover) LUM_TRY(hover->load(stream));
    values = {reals[0], reals[1], reals[2], reals[3], tones[0], tones[1], tones[2]};
    computed = true;
    return nullptr;
}

} // namespace lum
