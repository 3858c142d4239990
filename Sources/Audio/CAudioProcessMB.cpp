#include "Audio/CAudioProcessMB.h"

namespace lum {

CErrorResult CAudioProcessMB::init() {
    if (definition->multibandCountParam.empty())
        return LUM_FAIL("@lumstr_CAudioProcessMB_init_NoCountParam "
                        "No 'multiband-count-param' attribute defined.");
    if (definition->multibandFreqParam.empty())
        return LUM_FAIL("@lumstr_CAudioProcessMB_init_NoFreqParam "
                        "No 'multiband-freq-param' attribute defined.");
    if (!definition->getAttrString("multiband-pre").empty())
        LUM_TRY(checkFilterDef("multiband-pre"));
    LUM_TRY(checkFilterDef("multiband-lp"));
    LUM_TRY(checkFilterDef("multiband-hp"));
    return LUM_FAIL("@lumstr_CAudioProcessMB_init_NotBuilt "
                    "The process '%1' asks for a band splitter, which this build does not have.",
                    fullName);
}

CErrorResult CAudioProcessMB::checkFilterDef(const char* attribute) {
    CAudioProcessDefBase* found = nullptr;
    return definition->findObjectByAttr(found, attribute);
}

} // namespace lum
