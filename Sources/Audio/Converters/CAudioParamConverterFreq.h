#pragma once

#include "Audio/Converters/CAudioParamConverterLog.h"

namespace lum {

/// `audio:cvt-freq`: values in Hz; a final "k" of a text means kilohertz.
class CAudioParamConverterFreq : public CAudioParamConverterLog {
public:
    double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                     bool& isOk) const override;
    double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                           bool& isOk) const override;
    CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                        const CAudioParamData* data, FormatMode mode) const override;

private:
    bool parse(const CAudioParamInfo& info, const CString& text, double& out) const;
};

} // namespace lum
