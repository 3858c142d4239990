#include "Audio/CAudioParamFilterBypassGroupSolo.h"

namespace lum {

void CAudioParamFilterBypassGroupSolo::process(const CParamList& from, const CParamList& to,
                                               const CAudioParamChange& change,
                                               const CChangeContext& context) {
    const CAudioParamStorage& solo = from[0]->getValues();
    double bypass = 1.0;
    for (int group = 0; group < solo.getGroupCount(); group++)
        if (solo.getElementCount(group) > 0 && solo.read(group, 0) >= 0.5) bypass = 0.0;
    writeValues(*to[0], 0, &bypass, 1, change, context);
}

std::unique_ptr<CAudioParamFilter> CAudioParamFilterBypassGroupSoloDef::createFilter() const {
    return std::make_unique<CAudioParamFilterBypassGroupSolo>();
}

} // namespace lum
