#include "Audio/CAudioParamRemapDef.h"

namespace lum {

void CAudioParamRemapDef::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamRemapDef::init() {
    LUM_TRY(CObject::init());
    CPair pair{getAttrString("orig"), getAttrString("new")};
    if (!pair.original.empty() && !pair.replacement.empty()) pairs.push_back(std::move(pair));
    return nullptr;
}

CErrorResult CAudioParamRemapDef::initDone() {
    LUM_TRY(CObject::initDone());
    for (const CObject* child : getChildren())
        if (child->getTag() == "content") LUM_TRY(addStatements(child->getAttrString("value")));
    if (pairs.empty())
        return LUM_FAIL("@lumstr_CAudioParamRemapDef_init_NoRemaps No remappings defined.");
    return nullptr;
}

/// Takes "name = new; name = new", or pairs without blanks inside, separated by blanks.
CErrorResult CAudioParamRemapDef::addStatements(const CString& text) {
    CVector<CString> items;
    text.split(items, text.find(u';') >= 0 ? u';' : u' ', true);
    for (const CString& item : items) {
        if (item.trimmed().empty()) continue; // a blank or a line end behind the last separator
        CVector<CString> sides;
        item.split(sides, u'=', false);
        if (sides.size() != 2)
            return LUM_FAIL("@lumstr_CAudioParamRemapDef_init_Invalid Invalid remapping string "
                            "'%1' defined.",
                            item);
        pairs.push_back({sides[0].trimmed(), sides[1].trimmed()});
    }
    return nullptr;
}

} // namespace lum
