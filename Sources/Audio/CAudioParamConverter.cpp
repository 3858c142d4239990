#include "Audio/CAudioParamConverter.h"

namespace lum {

void CAudioParamConverter::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamConverter::init() {
    LUM_TRY(CObject::init());
    label = getAttrString("label");
    discrete = getAttrBool("is-discrete");
    return nullptr;
}

double CAudioParamConverter::positionToValue(const CAudioParamInfo& info, int subValue,
                                             double position) const {
    double low = info.minValues[subValue];
    return low + (info.maxValues[subValue] - low) * position;
}

double CAudioParamConverter::valueToPosition(const CAudioParamInfo& info, int subValue,
                                             double value) const {
    double low = info.minValues[subValue];
    return (value - low) / (info.maxValues[subValue] - low);
}

double CAudioParamConverter::positionToDisplay(const CAudioParamInfo& info, int subValue,
                                               double position) const {
    return positionToValue(info, subValue, position);
}

double CAudioParamConverter::displayToPosition(const CAudioParamInfo& info, int subValue,
                                               double display) const {
    return valueToPosition(info, subValue, info.clamp(subValue, display));
}

} // namespace lum
