#pragma once

#include "Audio/CAudioParamConverter.h"

namespace lum {

/// `audio:cvt-text`: the string item of a value.
class CAudioParamConverterText : public CAudioParamConverter {
public:
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;
};

} // namespace lum
