#pragma once

#include "Audio/Converters/CAudioParamConverterRound.h"

namespace lum {

/// `audio:cvt-enum`: named states. Names of the converter go before those of the parameter.
class CAudioParamConverterEnum : public CAudioParamConverterRound {
public:
    CErrorResult init() override;
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;

private:
    bool parse(const CAudioParamInfo& info, const CString& text, int base, double& out) const;
    bool findName(const CAudioParamInfo& info, const CString& text, int base, double& out) const;

    CVector<CString> stateNames;
    CVector<CString> stateShortNames;
    bool isBoolean = false;
};

} // namespace lum
