#pragma once

#include "Audio/CAudioParamConverter.h"

namespace lum {

/// A converter with a logarithmic scale of positions, bent by a power, and with an optional
/// position at which the value is 1.
class CAudioParamConverterLog : public CAudioParamConverter {
public:
    CErrorResult init() override;
    double positionToValue(const CAudioParamInfo& info, int subValue,
                           double position) const override;
    double valueToPosition(const CAudioParamInfo& info, int subValue, double value) const override;

private:
    double bend(double position, double exponent) const;

    double power = 1.0;      // curve exponent
    double threshold = -1.0; // position of the value 1; zero or less: none
    bool isBent = false;     // the power differs from 1
};

} // namespace lum
