#pragma once

#include "Audio/CAudioParamConverter.h"

namespace lum {

/// `audio:cvt-time`: texts and displays in units of `scale`, positions by a square law, linear or
/// logarithmic.
class CAudioParamConverterTime : public CAudioParamConverter {
public:
    CErrorResult init() override;
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;
    double positionToValue(const CAudioParamInfo& info, int subValue,
                           double position) const override;
    double valueToPosition(const CAudioParamInfo& info, int subValue, double value) const override;
    double positionToDisplay(const CAudioParamInfo& info, int subValue,
                             double position) const override;
    double displayToPosition(const CAudioParamInfo& info, int subValue,
                             double display) const override;

private:
    double scale = 1.0; // internal value of one displayed unit
    bool isLog = false;
    bool isExact = false;   // linear, and always the finest number of decimals
    bool isPrecise = false; // one more decimal
};

} // namespace lum
