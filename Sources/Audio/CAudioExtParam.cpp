#include "Audio/CAudioExtParam.h"

#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioParamConverter.h"

#include <algorithm>

namespace lum {

namespace {

/// Also takes what is no number for 0.
double clampNormalised(double value) {
    if (!(value > 0.0)) return 0.0;
    return value < 1.0 ? value : 1.0;
}

} // namespace

void CAudioExtParam::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioExtParam::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(findObjectByAttr(collector, "param-collector"));
    extName = getAttrString("ext-name");
    if (extName.empty() || extName.length() > kLongestName)
        return LUM_FAIL("@lumstr_CAudioExtParam_attrExtName_LongName "
                        "Externalized parameter name '%1' is too long",
                        extName);
    element = getAttrInt("element-index");
    group = getAttrInt("group");
    param = &collector->getParam(getAttrString("param-name"));
    attach(collector, param);

    CAudioParamGuard guard(*param);
    refresh();
    return nullptr;
}

void CAudioExtParam::prepareDestroy() {
    attach(nullptr, nullptr);
    CObject::prepareDestroy();
}

void CAudioExtParam::setHost(int32_t listIndex, CAudioExtParamHostBridge* hostBridge) {
    CAudioParamGuard guard(*param);
    index = listIndex;
    bridge = hostBridge;
}

void CAudioExtParam::setHostValue(double value) {
    CAudioParamGuard guard(*param);
    const double position = clampNormalised(value);
    hostValue.store(position, std::memory_order_relaxed);
    const CAudioParamInfo* info = param->getInfo();
    if (!info || !info->converter()) return;

    const double real = info->converter()->positionToValue(*info, 0, position);
    const CAudioParamStorage& values = param->getValues();
    // A change starts at or before the end of what is stored, so that no element stays unwritten.
    const int first = std::min(element, values.getElementCount(group));
    CVector<double, 16> written;
    for (int i = first; i < element; i++) written.push_back(values.read(group, i));
    written.push_back(real);
    param->applyChange(CAudioParamChange::ofValues(values.getFormat(), group, first, written.data(),
                                                   written.ssize(), false, this),
                       CChangeContext(), &guard);
}

CString CAudioExtParam::getLabel() {
    CAudioParamGuard guard(*param);
    const CAudioParamInfo* info = param->getInfo();
    return info && info->converter() ? info->converter()->getLabel() : CString();
}

CString CAudioExtParam::valueToText(double value) {
    CAudioParamGuard guard(*param);
    const CAudioParamInfo* info = param->getInfo();
    if (!info || !info->converter()) return {};
    const double real = info->converter()->positionToValue(*info, 0, clampNormalised(value));
    return info->converter()->formatValue(*info, 0, real, &param->getValues().getData(),
                                          FormatMode::Short);
}

double CAudioExtParam::textToValue(const CString& text) {
    CAudioParamGuard guard(*param);
    const CAudioParamInfo* info = param->getInfo();
    if (!info || !info->converter()) return 0.0;
    bool isOk = false;
    double real = info->converter()->parseText(*info, 0, text, isOk);
    if (!isOk) real = param->getValues().read(group, element); // what is there stays
    return info->converter()->valueToPosition(*info, 0, real);
}

void CAudioExtParam::onUpdate(const CUpdateRecord* record) {
    const CAudioParamChange* change = static_cast<const CAudioParamUpdate*>(record)->change;
    if (!isTouchedBy(*change)) return;
    // The notification comes with the parameter's guard held.
    refresh();
}

bool CAudioExtParam::isTouchedBy(const CAudioParamChange& change) const {
    if (change.group == kDefinitionGroup) return true;
    if (change.originator == this || change.group != group) return false;
    if (element < change.firstElement) return false;
    // Behind a truncating change the elements fall back to their defaults.
    return change.isTruncating || element < change.firstElement + change.elementCount;
}

void CAudioExtParam::refresh() {
    const CAudioParamInfo* info = param->getInfo();
    if (!info || !info->converter()) return;
    const double real = param->getValues().read(group, element);
    const double position = info->converter()->valueToPosition(*info, 0, real);
    // A change that only fills the gap in front of another band moves nothing, and a host that is
    // told of it would write automation.
    if (hostValue.exchange(position, std::memory_order_relaxed) == position) return;
    if (bridge) collector->deferCall(*bridge, index, position);
}

} // namespace lum
