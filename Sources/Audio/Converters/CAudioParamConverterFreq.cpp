#include "Audio/Converters/CAudioParamConverterFreq.h"

#include "Audio/Converters/ConverterMath.h"

namespace lum {

namespace {

constexpr double kKilo = 0.001; // Hz to kHz

CString formatCompact(double hertz) {
    const int64_t rounded = roundToLong(hertz);
    if (rounded < 100) return decimalText(hertz, 1);
    if (rounded < 10000) return decimalText(hertz, 0);
    return decimalText(hertz * kKilo, rounded < 100000 ? 1 : 0) + "k";
}

/// Three digits, or four from 100 kHz on.
CString formatNormal(double hertz) {
    if (roundToLong(hertz * 10.0) < 1000) return decimalText(hertz, 1);
    if (roundToLong(hertz) < 1000) return decimalText(hertz, 0);
    return decimalText(hertz * kKilo, roundToLong(hertz * 0.1) < 1000 ? 2 : 1) + "k";
}

} // namespace

bool CAudioParamConverterFreq::parse(const CAudioParamInfo& info, const CString& text,
                                     double& out) const {
    if (info.findSwitchValue(text, out)) return true;
    bool isKilo = text.endsWith("k") || text.endsWith("K");
    double number = 0.0;
    CString digits = isKilo ? text.substring(0, static_cast<int>(text.length()) - 1) : text;
    if (!digits.parseReal(number)) return false;
    out = isKilo ? number * 1000.0 : number;
    return true;
}

double CAudioParamConverterFreq::parseText(const CAudioParamInfo& info, int subValue,
                                           const CString& text, bool& isOk) const {
    double value = info.minValues[subValue];
    isOk = parse(info, text, value);
    double switchValue = 0.0;
    return info.findSwitchValue(text, switchValue) ? switchValue : info.clamp(subValue, value);
}

double CAudioParamConverterFreq::parseDefinition(const CAudioParamInfo& info, int,
                                                 const CString& text, bool& isOk) const {
    double value = 0.0;
    isOk = parse(info, text, value);
    return value;
}

CString CAudioParamConverterFreq::formatValue(const CAudioParamInfo& info, int, double value,
                                              const CAudioParamData*, FormatMode mode) const {
    CString switchName;
    if (info.findSwitchName(value, switchName)) return switchName;
    if (mode == FormatMode::Precise) return decimalText(value, 2);
    return mode == FormatMode::Compact ? formatCompact(value) : formatNormal(value);
}

} // namespace lum
