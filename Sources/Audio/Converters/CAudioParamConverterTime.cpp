#include "Audio/Converters/CAudioParamConverterTime.h"

#include "Audio/Converters/ConverterMath.h"

#include <cmath>

namespace lum {

namespace {

/// At most three digits; a star marks thousands of the unit.
CString formatCompact(double units) {
    const int64_t rounded = roundToLong(std::fabs(units));
    if (roundToLong(std::fabs(units) * 10.0) < 1) return decimalText(units, 0);
    if (rounded < 10) return decimalText(units, 1);
    if (rounded < 1000) return decimalText(units, 0);
    if (rounded < 10000) return fixedPointText(roundToLong(units * 10.0 / 1000.0), 1) + "*";
    return decimalText(units / 1000.0, 0) + "*";
}

} // namespace

CErrorResult CAudioParamConverterTime::init() {
    LUM_TRY(CAudioParamConverter::init());
    isLog = getAttrBool("is-log");
    isExact = getAttrBool("is-exact");
    isPrecise = getAttrBool("is-precise");
    scale = getAttrReal("scale");
    if (!(scale > 0.0))
        return LUM_FAIL("@lumstr_CAudioParamConverterTime_init_Scale Invalid scale %1 specified.",
                        getAttrString("scale", "0"));
    return nullptr;
}

double CAudioParamConverterTime::parseText(const CAudioParamInfo& info, int subValue,
                                           const CString& text, bool& isOk) const {
    double units = 0.0;
    isOk = text.parseReal(units);
    return info.clamp(subValue, isOk ? units * scale : info.minValues[subValue]);
}

double CAudioParamConverterTime::parseDefinition(const CAudioParamInfo&, int, const CString& text,
                                                 bool& isOk) const {
    double units = 0.0;
    isOk = text.parseReal(units);
    return units * scale;
}

CString CAudioParamConverterTime::formatValue(const CAudioParamInfo&, int, double value,
                                              const CAudioParamData*, FormatMode mode) const {
    const double units = value / scale;
    if (mode == FormatMode::Compact) return formatCompact(units);
    const int64_t rounded = roundToLong(std::fabs(units));
    int decimals = isPrecise ? 1 : 0;
    if (isExact || rounded < 10)
        decimals += 2;
    else if (rounded < 100)
        decimals += 1;
    return decimalText(units, decimals);
}

double CAudioParamConverterTime::positionToValue(const CAudioParamInfo& info, int subValue,
                                                 double position) const {
    const double low = info.minValues[subValue];
    const double high = info.maxValues[subValue];
    if (isLog) return std::exp(std::log(low) + std::log(high / low) * position);
    return low + (high - low) * (isExact ? position : position * position);
}

double CAudioParamConverterTime::valueToPosition(const CAudioParamInfo& info, int subValue,
                                                 double value) const {
    const double low = info.minValues[subValue];
    const double high = info.maxValues[subValue];
    if (isLog) return std::log(value / low) / std::log(high / low);
    const double share = (value - low) / (high - low);
    return isExact ? share : std::sqrt(std::fabs(share));
}

double CAudioParamConverterTime::positionToDisplay(const CAudioParamInfo& info, int subValue,
                                                   double position) const {
    return positionToValue(info, subValue, position) / scale;
}

double CAudioParamConverterTime::displayToPosition(const CAudioParamInfo& info, int subValue,
                                                   double display) const {
    return valueToPosition(info, subValue, info.clamp(subValue, display * scale));
}

} // namespace lum
