#include "Audio/Converters/CAudioParamConverterText.h"

namespace lum {

double CAudioParamConverterText::parseText(const CAudioParamInfo&, int, const CString&,
                                           bool& isOk) const {
    isOk = true;
    return 0.0;
}

double CAudioParamConverterText::parseDefinition(const CAudioParamInfo&, int, const CString&,
                                                 bool& isOk) const {
    isOk = true;
    return 0.0;
}

CString CAudioParamConverterText::formatValue(const CAudioParamInfo&, int, double value,
                                              const CAudioParamData* data, FormatMode) const {
    return data ? data->getString(roundToInt(value)) : CString();
}

} // namespace lum
