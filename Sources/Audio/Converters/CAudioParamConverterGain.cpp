#include "Audio/Converters/CAudioParamConverterGain.h"

#include "Audio/Converters/ConverterMath.h"

#include <cmath>

namespace lum {

namespace {

constexpr double kDbPerNeper = 8.685889638065037; // 20 / ln(10)

/// One decimal below 10 dB, none above and none at zero.
CString formatCompact(double level) {
    bool isSmall = roundToLong(std::fabs(level) * 10.0) < 100;
    bool isZero = roundToLong(std::fabs(level) * 100.0) < 1;
    return decimalText(level, isSmall && !isZero ? 1 : 0);
}

} // namespace

CErrorResult CAudioParamConverterGain::init() {
    LUM_TRY(CAudioParamConverterLog::init());
    decimals = getAttrInt("decimals");
    if (decimals < 0 || decimals > 10)
        return LUM_FAIL("@lumstr_CAudioParamConverterGain_init_Decimals Invalid 'decimals' "
                        "attribute value %1 specified.",
                        decimals);
    return nullptr;
}

double CAudioParamConverterGain::parseText(const CAudioParamInfo& info, int subValue,
                                           const CString& text, bool& isOk) const {
    double level = 0.0;
    isOk = text.parseReal(level);
    return isOk ? info.clamp(subValue, std::exp(level / kDbPerNeper)) : info.minValues[subValue];
}

double CAudioParamConverterGain::parseDefinition(const CAudioParamInfo&, int, const CString& text,
                                                 bool& isOk) const {
    double level = 0.0;
    isOk = text.parseReal(level);
    return std::exp(level / kDbPerNeper);
}

CString CAudioParamConverterGain::formatValue(const CAudioParamInfo&, int, double value,
                                              const CAudioParamData*, FormatMode mode) const {
    double level = kDbPerNeper * std::log(value);
    if (mode == FormatMode::Compact) return formatCompact(level);
    return decimalText(level, mode == FormatMode::Precise ? 2 : decimals);
}

double CAudioParamConverterGain::positionToDisplay(const CAudioParamInfo& info, int subValue,
                                                   double position) const {
    return kDbPerNeper * std::log(positionToValue(info, subValue, position));
}

double CAudioParamConverterGain::displayToPosition(const CAudioParamInfo& info, int subValue,
                                                   double display) const {
    double value = info.clamp(subValue, std::exp(display / kDbPerNeper));
    return valueToPosition(info, subValue, value);
}

} // namespace lum
