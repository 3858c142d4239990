#include "Audio/CAudioParamDef.h"

namespace lum {

namespace {

struct CDataTypeName {
    const char* name;
    ParamDataType type;
};
constexpr CDataTypeName kDataTypes[] = {
    {"string", ParamDataType::String},
    {"raw", ParamDataType::Raw},
}; // any other text is Float

ParamDataType findDataType(const CString& text) {
    for (const CDataTypeName& row : kDataTypes)
        if (text == row.name) return row.type;
    return ParamDataType::Float;
}

} // namespace

// CAudioParamDef

void CAudioParamDef::fillClass(CClassInfo& classInfo) {
    CObject::fillClass(classInfo);
}

CErrorResult CAudioParamDef::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(readFormat());
    readFlags();
    info.visualName = getAttrString("visual-name");
    info.fullName = getFullName();
    info.paramRegistryName = getAttrString("param-registry");
    info.converterNames.push_back(getAttrString("converter"));
    for (int i = 2; i <= info.format.elementSize; i++)
        info.converterNames.push_back(getAttrString(CString("converter") + CString::fromInt(i)));
    LUM_TRY(info.parseConverterNames());
    LUM_TRY(info.parseMinMaxValues(getAttrString("min-values"), getAttrString("max-values")));
    LUM_TRY(info.parseStateNames(getAttrString("state-names")));
    info.parseSwitches(getAttrString("switch-values"), getAttrString("switch-names"));
    LUM_TRY(info.defaults.parseDefValues(info, getAttrString("def-values")));
    if (info.defaults.getGroupCount() == 0)
        return LUM_FAIL("@lumstr_CAudioParamDef_init_NoDefaults No default values specified.");
    return nullptr;
}

CErrorResult CAudioParamDef::readFormat() {
    CAudioParamFormat& format = info.format;
    format.elementSize = getAttrInt("element-size");
    if (format.elementSize <= 0 || format.elementSize > kMaxParamGroupValues)
        return LUM_FAIL(
            "@lumstr_CAudioParamDef_init_ElementSize Invalid element size %1 specified.",
            format.elementSize);
    format.dataType = findDataType(getAttrString("data-type"));
    if (!format.isFloat() && format.elementSize > 1)
        return LUM_FAIL("@lumstr_CAudioParamDef_init_NonFloatSize Invalid element size %1 for "
                        "non-float data specified.",
                        format.elementSize);
    return nullptr;
}

void CAudioParamDef::readFlags() {
    info.format.isSingleGroup = getAttrBool("is-single-group");
    info.format.isSingleElement = getAttrBool("is-single-element");
    info.isPersistent = getAttrBool("is-persistent");
    info.isStorable = !info.isPersistent && getAttrBool("is-storable");
    info.isGlobal = info.isStorable || info.isPersistent || getAttrBool("is-global");
}

// CAudioParamAllocDef

void CAudioParamAllocDef::fillClass(CClassInfo& classInfo) {
    CObject::fillClass(classInfo);
}

CErrorResult CAudioParamAllocDef::init() {
    LUM_TRY(CObject::init());
    paramName = getAttrString("param-name");
    if (paramName.empty())
        return LUM_FAIL(
            "@lumstr_CAudioParamAllocDef_init_NoName Invalid parameter name specified.");
    index = getAttrInt("index");
    if (index < 0)
        return LUM_FAIL(
            "@lumstr_CAudioParamAllocDef_init_Index Invalid parameter index %1 specified.", index);
    useAllGroups = getAttrBool("use-all-groups");
    useAllElements = getAttrBool("use-all-elements");
    isSmoothUpdate = getAttrBool("is-smooth-update");
    return nullptr;
}

} // namespace lum
