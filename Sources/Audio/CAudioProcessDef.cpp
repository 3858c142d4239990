#include "Audio/CAudioProcessDef.h"

#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamFilter.h"
#include "Audio/CAudioParamRemapDef.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/CAudioProcess.h"
#include "Audio/CAudioProcessMB.h"
#include "Audio/CAudioProcessStack.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kShortestFade = 0.0001; // seconds

/// One end of a link: "name" or "name/port".
enum class LinkEndFault { None, Port, Name };

LinkEndFault parseLinkEnd(const CString& text, CString& name, int& port) {
    int slash = text.find('/');
    port = 0;
    name = slash < 0 ? text : text.substring(0, slash);
    if (slash >= 0) {
        int32_t number = 0;
        if (!text.substring(static_cast<size_t>(slash) + 1).parseInt(number) || number < 0)
            return LinkEndFault::Port;
        port = number;
    }
    return name.empty() ? LinkEndFault::Name : LinkEndFault::None;
}

bool parseBound(const CString& text, bool& isThere, double& value) {
    isThere = text != "*";
    return !isThere || text.parseReal(value);
}

} // namespace

// Sorting of children.

void CAudioProcessDefBaseInit::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioProcessDefBaseInit::initDone() {
    LUM_TRY(CObject::initDone());
    for (CObject* child : getChildren()) {
        if (auto* alloc = dynamic_cast<CAudioParamAllocDef*>(child))
            allocs[alloc->index] = alloc;
        else if (auto* remap = dynamic_cast<CAudioParamRemapDef*>(child))
            remaps.push_back(remap);
        else if (child->getTag() == "core:object")
            for (CObject* inner : child->getChildren())
                sortPrefixed(*inner, child->getName() + ".");
        else
            sortPrefixed(*child, {});
    }
    return nullptr;
}

void CAudioProcessDefBaseInit::sortPrefixed(CObject& child, const CString& prefix) {
    if (auto* storage = dynamic_cast<CAudioParamSharedStorage*>(&child))
        storages.push_back({prefix, storage});
    else if (auto* filter = dynamic_cast<CAudioParamFilterDef*>(&child))
        filters.push_back({prefix, filter});
    else if (auto* param = dynamic_cast<CAudioParamDef*>(&child))
        params.push_back({prefix, param});
}

const CAudioParamAllocDef* CAudioProcessDefBaseInit::findAlloc(int index) const {
    auto found = allocs.find(index);
    return found == allocs.end() ? nullptr : found->second;
}

// The common attributes and the factory.

void CAudioProcessDefBase::fillClass(CClassInfo& info) {
    CAudioProcessDefBaseInit::fillClass(info);
}

CErrorResult CAudioProcessDefBase::init() {
    LUM_TRY(CAudioProcessDefBaseInit::init());
    isSmoothUpdate = getAttrBool("is-smooth-update");
    isStacked = getAttrBool("is-stacked");
    stackParam = getAttrString("stack-param");
    stackIndexShift = getAttrInt("stack-index-shift");
    if (stackIndexShift < 0)
        return LUM_FAIL("@lumstr_CAudioProcessDefBase_init_InvalidStackIndexShift "
                        "Invalid stack index shift value '%1' specified.",
                        stackIndexShift);
    isChannelStack = getAttrBool("is-channel-stack");
    isMultiband = getAttrBool("is-multiband");
    multibandFreqParam = getAttrString("multiband-freq-param");
    multibandCountParam = getAttrString("multiband-count-param");
    isTerminalWhole = getAttrBool("is-terminal-whole");
    isPrototype = getAttrBool("is-prototype");
    isOutOfOrder = getAttrBool("is-outoforder");
    bypassStateId = getAttrInt("bypass-state-id");
    isCompInput = getAttrBool("is-comp-input");
    CString mode = getAttrString("input-combo-mode");
    inputComboMode = mode == "avg"   ? InputComboMode::Average
                     : mode == "max" ? InputComboMode::Maximum
                                     : InputComboMode::Sum;
    xfadeLength = std::max(getAttrReal("xfade-length"), kShortestFade);
    return nullptr;
}

CErrorResult CAudioProcessDefBase::instantiate(std::unique_ptr<CAudioProcessBase>& out,
                                               const CString& processName,
                                               CAudioProcessContext& context,
                                               CAudioProcessBase* parentProcess, bool skipStack,
                                               bool skipMultiband, const CGroupPlace* place) const {
    std::unique_ptr<CAudioProcessBase> made;
    if (isMultiband && !skipMultiband)
        made.reset(new CAudioProcessMB);
    else if (isStacked && !skipStack)
        made.reset(new CAudioProcessStack);
    else
        made.reset(createProcess());
    made->attach(*this, processName, context, parentProcess);
    // What a wrapper makes shares its name, and so do the copies of a graph.
    if (context.collector.claimDeclarations(processName)) LUM_TRY(made->createParams());
    if (place)
        made->setGroupIndex(place->group, place->stack);
    else if (parentProcess)
        made->setGroupIndex(parentProcess->getGroupIndex(), parentProcess->getStackIndex());
    LUM_TRY(made->init());
    out = std::move(made);
    return nullptr;
}

// Links and states.

void CAudioProcessLinkDef::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioProcessLinkDef::init() {
    LUM_TRY(CObject::init());
    CString src = getAttrString("src");
    CString dst = getAttrString("dst");
    if (src.empty())
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_NoSrc No 'src' attribute defined.");
    if (dst.empty())
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_NoDst No 'dst' attribute defined.");
    LinkEndFault fault = parseLinkEnd(src, srcName, srcPort);
    if (fault == LinkEndFault::Port)
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_InvalidSrcPort "
                        "Invalid port in the 'src' attribute value '%1' specified.",
                        src);
    if (fault == LinkEndFault::Name)
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_InvalidSrcProcess "
                        "Invalid process in the 'src' attribute value '%1' specified.",
                        src);
    fault = parseLinkEnd(dst, dstName, dstPort);
    if (fault == LinkEndFault::Port)
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_InvalidDstPort "
                        "Invalid port in the 'dst' attribute value '%1' specified.",
                        dst);
    if (fault == LinkEndFault::Name)
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_InvalidDstProcess "
                        "Invalid process in the 'dst' attribute value '%1' specified.",
                        dst);
    stateId = getAttrInt("state-id", -1);
    if (stateId < -1)
        return LUM_FAIL("@lumstr_CAudioProcessLinkDef_init_InvalidStateId "
                        "Invalid state identifier '%1' specified.",
                        stateId);
    CVector<CString> ids;
    getAttrString("bypass-state-id").split(ids, ' ', true);
    for (const CString& id : ids) {
        int32_t number = 0;
        if (id.parseInt(number)) bypassStateIds.push_back(number);
    }
    return nullptr;
}

void CAudioProcessLinkStateDef::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioProcessLinkStateDef::init() {
    LUM_TRY(CObject::init());
    param = getAttrString("param");
    if (param.empty())
        return LUM_FAIL("@lumstr_CAudioProcessLinkStateDef_init_InvalidParam "
                        "Invalid parameter name specified.");
    return nullptr;
}

bool CStateRange::parse(const CString& text) {
    if (text.length() < 5) return false;
    char16_t open = text.at(0);
    char16_t close = text.at(text.length() - 1);
    if ((open != '[' && open != '(') || (close != ']' && close != ')')) return false;
    isMinIncluded = open == '[';
    isMaxIncluded = close == ']';
    CVector<CString> parts;
    text.substring(1, static_cast<int>(text.length()) - 2).split(parts, ';', false);
    if (parts.size() != 2 && parts.size() != 3) return false;
    if (!parseBound(parts[0].trimmed(), hasMin, min)) return false;
    if (!parseBound(parts[1].trimmed(), hasMax, max)) return false;
    if (parts.size() == 3 && (!parts[2].trimmed().parseReal(step) || !(step > 0.0))) return false;
    return !hasMin || !hasMax || max >= min;
}

bool CStateRange::contains(double value) const noexcept {
    double steps = std::round(value / step);
    if (hasMin) {
        double lowest = std::round(min / step);
        if (steps < lowest || (steps == lowest && !isMinIncluded)) return false;
    }
    if (hasMax) {
        double highest = std::round(max / step);
        if (steps > highest || (steps == highest && !isMaxIncluded)) return false;
    }
    return true;
}

bool CStateCondition::matches(double tested) const noexcept {
    constexpr double kTolerance = 0.1;
    return hasRange ? range.contains(tested) : std::abs(tested - value) <= kTolerance;
}

void CAudioProcessBypassStateDef::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioProcessBypassStateDef::init() {
    LUM_TRY(CObject::init());
    id = getAttrInt("id");
    param = getAttrString("param");
    if (param.empty())
        return LUM_FAIL("@lumstr_CAudioProcessBypassStateDef_init_InvalidParam "
                        "Invalid parameter name specified.");
    condition.value = getAttrReal("value");
    CString text = getAttrString("range");
    condition.hasRange = !text.empty();
    if (condition.hasRange && !condition.range.parse(text))
        return LUM_FAIL("@lumstr_CAudioProcessBypassStateDef_init_InvalidRange "
                        "Invalid 'range' attribute value '%1' specified.",
                        text);
    andParam = getAttrString("and-param");
    andCondition.value = getAttrReal("and-value");
    text = getAttrString("and-range");
    andCondition.hasRange = !text.empty();
    if (andCondition.hasRange && !andCondition.range.parse(text))
        return LUM_FAIL("@lumstr_CAudioProcessBypassStateDef_init_InvalidAndRange "
                        "Invalid 'and-range' attribute value '%1' specified.",
                        text);
    isInverted = getAttrBool("is-inverted");
    return nullptr;
}

// The composite's definition.

void CAudioProcessDef::fillClass(CClassInfo& info) {
    CAudioProcessDefBase::fillClass(info);
}

CErrorResult CAudioProcessDef::init() {
    LUM_TRY(CAudioProcessDefBase::init());
    isAutoLinks = getAttrBool("is-auto-links");
    return nullptr;
}

CErrorResult CAudioProcessDef::initDone() {
    LUM_TRY(CAudioProcessDefBase::initDone());
    for (CObject* child : getChildren()) {
        if (auto* processDef = dynamic_cast<CAudioProcessDefBase*>(child))
            processes.push_back(processDef);
        else if (auto* link = dynamic_cast<CAudioProcessLinkDef*>(child))
            linksByState[link->stateId].push_back(link);
        else if (auto* stateDef = dynamic_cast<CAudioProcessLinkStateDef*>(child))
            stateParams.push_back(stateDef);
        else if (auto* bypass = dynamic_cast<CAudioProcessBypassStateDef*>(child))
            bypassStates.push_back(bypass);
    }
    return nullptr;
}

CAudioProcessBase* CAudioProcessDef::createProcess() const {
    return new CAudioProcess;
}

} // namespace lum
