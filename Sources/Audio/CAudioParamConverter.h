#pragma once

#include "Audio/CAudioParamInfo.h"
#include "Core/CObject.h"

namespace lum {

enum class FormatMode { Normal = 0, Compact = 1, Short = 2, Precise = 3 };

/// Gives a parameter its meaning: text to value and back, value to position on a control and back.
/// Declared once under `audio.paramcvt` and shared; the range belongs to the parameter, whose info
/// every operation receives. No mutable state after init: any thread but the audio thread.
class CAudioParamConverter : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    /// User input and default values: clamped to the range.
    virtual double parseText(const CAudioParamInfo& info, int subValue, const CString& text,
                             bool& isOk) const = 0;
    /// Minima and maxima: not clamped.
    virtual double parseDefinition(const CAudioParamInfo& info, int subValue, const CString& text,
                                   bool& isOk) const = 0;
    /// Text without the label. `data` holds the items of string parameters, null else.
    virtual CString formatValue(const CAudioParamInfo& info, int subValue, double value,
                                const CAudioParamData* data, FormatMode mode) const = 0;
    virtual double positionToValue(const CAudioParamInfo& info, int subValue,
                                   double position) const;
    virtual double valueToPosition(const CAudioParamInfo& info, int subValue, double value) const;
    /// Position to display units (what a ruler shows) and back.
    virtual double positionToDisplay(const CAudioParamInfo& info, int subValue,
                                     double position) const;
    virtual double displayToPosition(const CAudioParamInfo& info, int subValue,
                                     double display) const;

    const CString& getLabel() const { return label; }
    bool isDiscrete() const { return discrete; }

private:
    CString label;
    bool discrete = false;
};

} // namespace lum
