#pragma once

#include "Audio/Converters/CAudioParamConverterLog.h"

namespace lum {

/// `audio:cvt-gain`: values are linear factors, texts and displays decibels.
class CAudioParamConverterGain : public CAudioParamConverterLog {
public:
    CErrorResult init() override;
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;
    double positionToDisplay(const CAudioParamInfo& info, int subValue,
                             double position) const override;
    double displayToPosition(const CAudioParamInfo& info, int subValue,
                             double display) const override;

private:
    int decimals = 0;
};

} // namespace lum
