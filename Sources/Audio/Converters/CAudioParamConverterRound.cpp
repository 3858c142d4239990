#include "Audio/Converters/CAudioParamConverterRound.h"

namespace lum {

double CAudioParamConverterRound::positionToValue(const CAudioParamInfo& info, int subValue,
                                                  double position) const {
    return roundToInt(CAudioParamConverter::positionToValue(info, subValue, position));
}

} // namespace lum
