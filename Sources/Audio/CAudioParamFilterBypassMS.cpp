#include "Audio/CAudioParamFilterBypassMS.h"

namespace lum {

void CAudioParamFilterBypassMS::process(const CParamList& from, const CParamList& to,
                                        const CAudioParamChange& change,
                                        const CChangeContext& context) {
    const CAudioParamStorage& pairs = from[0]->getValues();
    const int group = change.group == kDefinitionGroup ? 0 : change.group;
    double bypass = 1.0;
    CMap<int32_t, int> members; // pair id to the number of elements that carry it
    for (int element = 0; element < pairs.getElementCount(group); element++) {
        int32_t pair = roundToInt(pairs.read(group, element));
        if (pair > 0 && ++members[pair] >= 2) bypass = 0.0;
    }
    writeValues(*to[0], change.group, &bypass, 1, change, context);
}

std::unique_ptr<CAudioParamFilter> CAudioParamFilterBypassMSDef::createFilter() const {
    return std::make_unique<CAudioParamFilterBypassMS>();
}

} // namespace lum
