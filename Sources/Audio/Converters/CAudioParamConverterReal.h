#pragma once

#include "Audio/CAudioParamConverter.h"

namespace lum {

/// `audio:cvt-real`: plain numbers.
class CAudioParamConverterReal : public CAudioParamConverter {
public:
    CErrorResult init() override;
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;

private:
    int decimals = 0;
};

} // namespace lum
