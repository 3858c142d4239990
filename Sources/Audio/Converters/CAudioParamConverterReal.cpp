#include "Audio/Converters/CAudioParamConverterReal.h"

#include "Audio/Converters/ConverterMath.h"

#include <cmath>

namespace lum {

CErrorResult CAudioParamConverterReal::init() {
    LUM_TRY(CAudioParamConverter::init());
    decimals = getAttrInt("decimals");
    if (decimals < 0 || decimals > 10)
        return LUM_FAIL(
            "@lumstr_CAudioParamConverterReal_init_Decimals Invalid decimals %1 specified.",
            decimals);
    return nullptr;
}

double CAudioParamConverterReal::parseText(const CAudioParamInfo& info, int subValue,
                                           const CString& text, bool& isOk) const {
    double value = 0.0;
    isOk = text.parseReal(value);
    return info.clamp(subValue, isOk ? value : info.minValues[subValue]);
}

double CAudioParamConverterReal::parseDefinition(const CAudioParamInfo&, int, const CString& text,
                                                 bool& isOk) const {
    double value = 0.0;
    isOk = text.parseReal(value);
    return value;
}

CString CAudioParamConverterReal::formatValue(const CAudioParamInfo&, int, double value,
                                              const CAudioParamData*, FormatMode mode) const {
    if (mode != FormatMode::Compact) return decimalText(value, decimals);
    return decimalText(value, roundToLong(std::fabs(value) * 10.0) >= 100 ? 0 : 1);
}

} // namespace lum
