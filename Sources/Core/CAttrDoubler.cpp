#include "Core/CAttrDoubler.h"

namespace lum {

namespace {

// Besides these it reads, once: `target`, blank-separated paths; `attr`, the attribute to set.
constexpr CAttrRow<CAttrDoubler> kAttrs[] = {
    {"value", &CAttrDoubler::attrValue}, // any type, handed on as it is
};

} // namespace

void CAttrDoubler::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CAttrDoubler::init() {
    LUM_TRY(CObject::init());
    CVector<CString> paths;
    getAttrString("target").split(paths, u' ', true);
    if (paths.empty())
        return LUM_FAIL("@lumstr_CAttrDoubler_init_NoTargets No target objects specified.");
    for (const CString& path : paths) {
        CObject* target = findObject(path);
        if (!target)
            return LUM_FAIL("@lumstr_CAttrDoubler_init_TargetNotFound Target object '%1' not "
                            "found.",
                            path);
        targets.push_back(target);
    }
    return nullptr;
}

CErrorResult CAttrDoubler::attrValue(const CAttrEntry& value) {
    const CString name = getAttrString("attr");
    for (CObject* target : targets) LUM_TRY(target->setAttrValue(name, value, true));
    return nullptr;
}

} // namespace lum
