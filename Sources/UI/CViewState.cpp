#include "UI/CViewState.h"

#include "UI/CViewBaseState.h"

namespace lum {

namespace {

// Read once by initDone: `state-name`, `state-attrs` (names), `duration`, `morph-duration`, and a
// value under each of the names.
constexpr const char* kReservedNames[] = {"state-name", "state-attrs", "duration",
                                          "morph-duration"};

} // namespace

CErrorResult CViewState::initDone() {
    LUM_TRY(CObject::initDone());
    auto* view = dynamic_cast<CViewBaseState*>(getParent());
    if (!view) return LUM_FAIL("@lumstr_CViewState_init_NoView Parent object is not a view.");
    stateName = getAttrString("state-name");
    if (stateName.empty()) return LUM_FAIL("@lumstr_CViewState_init_NoName State name is empty.");
    duration = getAttrReal("duration");
    morphDuration = getAttrReal("morph-duration");
    LUM_TRY(readNames());
    LUM_TRY(view->addViewState(*this));
    return nullptr;
}

void CViewState::prepareDestroy() {
    if (auto* view = dynamic_cast<CViewBaseState*>(getParent())) view->removeViewState(*this);
    CObject::prepareDestroy();
}

CErrorResult CViewState::readNames() {
    getAttrString("state-attrs").split(attrNames, u' ', true);
    if (attrNames.empty())
        return LUM_FAIL("@lumstr_CViewState_init_NoAttrs The state-attrs attribute is empty in %1",
                        getFullName());
    for (const CString& name : attrNames)
        for (const char* reserved : kReservedNames)
            if (name == reserved)
                return LUM_FAIL("@lumstr_CViewState_init_Reserved Reserved attribute name "
                                "specified in state-attrs in %1",
                                getFullName());
    return nullptr;
}

} // namespace lum
