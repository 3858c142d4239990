#pragma once

#include "Audio/CAudioParamConverter.h"

namespace lum {

/// A converter whose positions give whole numbers.
class CAudioParamConverterRound : public CAudioParamConverter {
public:
    double positionToValue(const CAudioParamInfo& info, int subValue,
                           double position) const override;
};

} // namespace lum
