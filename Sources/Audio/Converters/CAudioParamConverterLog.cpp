#include "Audio/Converters/CAudioParamConverterLog.h"

#include <cmath>

namespace lum {

CErrorResult CAudioParamConverterLog::init() {
    LUM_TRY(CAudioParamConverter::init());
    power = getAttrReal("scale-power", 1.0);
    if (!(power > 0.0))
        return LUM_FAIL("@lumstr_CAudioParamConverterLog_init_Power Invalid 'scale-power' "
                        "attribute value %1 specified.",
                        getAttrString("scale-power"));
    threshold = getAttrReal("scale-threshold", -1.0);
    if (threshold > 1.0)
        return LUM_FAIL("@lumstr_CAudioParamConverterLog_init_Threshold Invalid "
                        "'scale-threshold' attribute value %1 specified.",
                        getAttrString("scale-threshold"));
    isBent = !isEqualReal(power, 1.0);
    return nullptr;
}

double CAudioParamConverterLog::bend(double position, double exponent) const {
    return isBent ? std::pow(position, exponent) : position;
}

double CAudioParamConverterLog::positionToValue(const CAudioParamInfo& info, int subValue,
                                                double position) const {
    const double low = info.minValues[subValue];
    const double high = info.maxValues[subValue];
    if (!(threshold > 0.0))
        return std::exp(std::log(low) + std::log(high / low) * bend(position, 1.0 / power));
    if (position >= threshold) { // from 1 up to the maximum
        double upper = threshold < 1.0 ? (position - threshold) / (1.0 - threshold) : 0.0;
        return std::exp(std::log(high) * upper);
    }
    double lower = bend(position / threshold, 1.0 / power); // from the minimum to 1
    return std::exp(std::log(low) + std::log(1.0 / low) * lower);
}

double CAudioParamConverterLog::valueToPosition(const CAudioParamInfo& info, int subValue,
                                                double value) const {
    const double low = info.minValues[subValue];
    const double high = info.maxValues[subValue];
    const bool hasUnityPoint = threshold > 0.0;
    if (hasUnityPoint && value >= 1.0)
        return threshold + std::log(value) / std::log(high) * (1.0 - threshold);
    double top = hasUnityPoint ? 1.0 : high;
    double share = std::log(value / low) / std::log(top / low);
    return (hasUnityPoint ? threshold : 1.0) * bend(share, power);
}

} // namespace lum
