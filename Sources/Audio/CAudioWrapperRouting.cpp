#include "Audio/CAudioWrapperRouting.h"

#include "Audio/CAudioInterfaceBase.h"

namespace lum {

namespace {

constexpr int kNamedGroups = 8;

/// A named group that still has one of its default names.
bool isDefaultGroupName(const CString& name, int group) {
    if (group == 0) {
        for (const char* known : {"1", "G1", "G-1", "MONO", "STEREO", "ALL CH", "MULTI"})
            if (name == known) return true;
        return false;
    }
    const CString number = CString::fromInt(group + 1);
    return name == number || name == "G" + number || name == "G-" + number;
}

bool hasType(const CAudioParam* param, ParamDataType type) {
    if (!param) return true;
    const CAudioParamInfo* info = param->getInfo();
    return info && info->format.dataType == type;
}

/// Element of group 0, rounded.
int readRounded(const CAudioParam& param, int element) {
    return roundToInt(param.getValues().read(0, element));
}

/// Both write elements of group 0 from 0 on, in the name of `originator`.
void writeNumbers(CAudioParam& param, const CVector<double, 16>& numbers,
                  const CChangeContext& change, const void* originator) {
    param.applyChange(CAudioParamChange::ofValues(param.getValues().getFormat(), 0, 0,
                                                  numbers.data(), numbers.ssize(), false,
                                                  originator),
                      change);
}

void writeTexts(CAudioParam& param, const CVector<CString>& texts, const CChangeContext& change,
                const void* originator) {
    CAudioParamChange written;
    written.format = param.getValues().getFormat();
    written.originator = originator;
    written.elementCount = texts.ssize();
    written.data = std::make_unique<CAudioParamData>();
    for (const CString& text : texts) written.values.push_back(written.data->addString(text));
    param.applyChange(written, change);
}

} // namespace

void CAudioWrapper::findRoutingParams() {
    const auto find = [&](const char* name) {
        return &collector->getParam(CString("plugin.modMain.io-params.") + name);
    };
    routingParams = std::make_unique<CRoutingParams>();
    if (useSideChain) {
        routingParams->sideChain = find("sidechain");
        routingParams->sideChainMute = find("sidechain-mute");
    }
    if (!useRouting) return;
    routingParams->inChannelNames = find("in-channel-names");
    routingParams->groupNames = find("group-names");
    routingParams->inRouting = find("in-routing");
    routingParams->grouping = find("grouping");
    routingParams->outRouting = find("out-routing");
    if (useMidSide) routingParams->msPairs = find("ms-pairs");
}

bool CAudioWrapper::CRoutingParams::areUsable() const {
    for (const CAudioParam* param : texts())
        if (!hasType(param, ParamDataType::String)) return false;
    for (const CAudioParam* param : numbers())
        if (!hasType(param, ParamDataType::Float)) return false;
    return true;
}

void CAudioWrapper::applyRouting(CParamUndoRecord* undo, CAudioParamBatch* batch) {
    platform::CLockGuard hold(routingLock);
    updateDefaultRouting(false, undo, batch);
}

void CAudioWrapper::updateDefaultRouting(bool isRequest, CParamUndoRecord* undo,
                                         CAudioParamBatch* batch) {
    if (isRequest) isRoutingRequested = true;
    if (!isRoutingRequested || !useRouting) return;
    // To the end, so that nobody changes one between test and write.
    CAudioParamGuardSet<8> guards;
    for (CAudioParam* param : routingParams->texts()) guards.add(*param);
    for (CAudioParam* param : routingParams->numbers())
        if (param) guards.add(*param);
    if (!routingParams->areUsable() || !isRoutingDefault() || inputLabels.empty()) return;
    CChangeContext change;
    change.undo = undo;
    change.batch = batch;
    writeDefaultRouting(change);
}

bool CAudioWrapper::isRoutingDefault() const {
    const CRoutingParams& params = *routingParams;
    const int count = intChannelCount;
    if (params.msPairs)
        for (int i = 0; i < count; i++)
            if (i >= params.msPairs->getValues().getElementCount(0) ||
                readRounded(*params.msPairs, i) != 0)
                return false;
    for (int group = 0; group < kNamedGroups; group++)
        if (!isDefaultGroupName(params.groupNames->getValues().readString(0, group), group))
            return false;
    if (params.sideChain)
        for (int i = 0; i < count; i++)
            if (readRounded(*params.sideChainMute, i) != 0 ||
                readRounded(*params.sideChain, i) != i)
                return false;

    int firstUnused = 0;
    while (firstUnused < count && readRounded(*params.inRouting, firstUnused) == firstUnused + 1)
        firstUnused++;
    for (int i = 0; i < count; i++) {
        const int routed = readRounded(*params.inRouting, i);
        if (i >= firstUnused && routed != 0) return false;
        if (readRounded(*params.outRouting, i) != routed) return false;
        if (readRounded(*params.grouping, i) != (i < firstUnused ? 0 : i / 2)) return false;
    }
    return true;
}

void CAudioWrapper::writeDefaultRouting(const CChangeContext& change) {
    const int labelCount = inputLabels.ssize();
    CVector<CString> names;
    names.push_back(labelCount == 1 ? "MONO" : labelCount == 2 ? "STEREO" : "MULTI");
    for (int group = 2; group <= kNamedGroups; group++)
        names.push_back("G-" + CString::fromInt(group));
    CVector<double, 16> routing;
    CVector<double, 16> grouping;
    CVector<double, 16> sideChain;
    for (int i = 0; i < intChannelCount; i++) {
        routing.push_back(i < labelCount ? i + 1 : 0);
        grouping.push_back(i < labelCount ? 0 : i / 2);
        sideChain.push_back(i);
    }

    const CRoutingParams& params = *routingParams;
    writeTexts(*params.inChannelNames, inputLabels, change, this);
    writeTexts(*params.groupNames, names, change, this);
    writeNumbers(*params.inRouting, routing, change, this);
    if (params.sideChain) {
        CVector<double, 16> mutes;
        mutes.resize(sideChain.size(), 0.0);
        writeNumbers(*params.sideChain, sideChain, change, this);
        writeNumbers(*params.sideChainMute, mutes, change, this);
    }
    writeNumbers(*params.outRouting, routing, change, this);
    writeNumbers(*params.grouping, grouping, change, this);
}

void CAudioWrapper::importChannelLabels() {
    CAudioParam* names = routingParams->inChannelNames;
    if (!names) return;
    const CDeferredCallHold held(*collector); // the host may be in a call that takes the lock
    platform::CLockGuard hold(routingLock);
    CVector<CString> labels = inputLabels;
    labels.append(sideChainLabels);
    if (labels.empty() || !hasType(names, ParamDataType::String)) return;
    auto record = std::make_unique<CAudioParamUndoRecord>("Channel label import", false, -1);
    {
        CAudioParamGuard guard(*names);
        bool isEqual = true;
        for (int i = 0; i < labels.ssize(); i++)
            isEqual = isEqual && names->getValues().readString(0, i) == labels[i];
        if (isEqual) return;
        CChangeContext change;
        change.undo = record.get();
        writeTexts(*names, labels, change, this);
    }
    interfaceBase->add(std::move(record)); // the undo lock stands outside the guards
}

} // namespace lum
