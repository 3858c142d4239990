#include "Audio/CAudioWrapperRouting.h"

#include "Audio/CAudioInterfaceBase.h"

#include <optional>

namespace lum {

namespace {

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

} // namespace

bool CAudioWrapper::CRoutingParams::areUsable() const {
    for (const CAudioParam* param : {inChannelNames, groupNames})
        if (!hasType(param, ParamDataType::String)) return false;
    for (const CAudioParam* param :
         {inRouting, grouping, outRouting, msPairs, sideChain, sideChainMute})
        if (!hasType(param, ParamDataType::Float)) return false;
    return true;
}

/// The guards of all routing parameters, so that nobody changes one between test and write.
struct CAudioWrapper::CRoutingGuards {
    explicit CRoutingGuards(CRoutingParams& params)
        : inChannelNames(*params.inChannelNames),
          groupNames(*params.groupNames),
          inRouting(*params.inRouting),
          grouping(*params.grouping),
          outRouting(*params.outRouting) {
        if (params.msPairs) msPairs.emplace(*params.msPairs);
        if (params.sideChain) sideChain.emplace(*params.sideChain);
        if (params.sideChainMute) sideChainMute.emplace(*params.sideChainMute);
    }
    CAudioParamGuard inChannelNames;
    CAudioParamGuard groupNames;
    CAudioParamGuard inRouting;
    CAudioParamGuard grouping;
    CAudioParamGuard outRouting;
    std::optional<CAudioParamGuard> msPairs;
    std::optional<CAudioParamGuard> sideChain;
    std::optional<CAudioParamGuard> sideChainMute;
};

void CAudioWrapper::applyRouting(CParamUndoRecord* undo, CAudioParamBatch* batch) {
    platform::CLockGuard hold(routingLock);
    updateDefaultRouting(false, undo, batch);
}

void CAudioWrapper::updateDefaultRouting(bool isRequest, CParamUndoRecord* undo,
                                         CAudioParamBatch* batch) {
    if (isRequest) isRoutingRequested = true;
    if (!isRoutingRequested || !useRouting) return;
    CRoutingGuards guards(*routingParams);
    if (!routingParams->areUsable() || !isRoutingDefault() || inputLabels.empty()) return;
    CChangeContext change;
    change.undo = undo;
    change.batch = batch;
    writeDefaultRouting(guards, change);
}

bool CAudioWrapper::isRoutingDefault() const {
    const CRoutingParams& params = *routingParams;
    const int count = intChannelCount;
    if (params.msPairs)
        for (int i = 0; i < count; i++)
            if (i >= params.msPairs->getValues().getElementCount(0) ||
                readRounded(*params.msPairs, i) != 0)
                return false;
    for (int group = 0; group < 8; group++)
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

void CAudioWrapper::writeDefaultRouting(CRoutingGuards& guards, const CChangeContext& change) {
    const int labelCount = inputLabels.ssize();
    CVector<CString> names;
    names.push_back(labelCount == 1 ? "MONO" : labelCount == 2 ? "STEREO" : "MULTI");
    for (int group = 2; group <= 8; group++) names.push_back("G-" + CString::fromInt(group));
    CVector<double, 16> routing;
    CVector<double, 16> grouping;
    CVector<double, 16> sideChain;
    for (int i = 0; i < intChannelCount; i++) {
        routing.push_back(i < labelCount ? i + 1 : 0);
        grouping.push_back(i < labelCount ? 0 : i / 2);
        sideChain.push_back(i);
    }

    writeTexts(guards.inChannelNames, inputLabels, change);
    writeTexts(guards.groupNames, names, change);
    writeElements(guards.inRouting, routing, change);
    if (guards.sideChain) {
        CVector<double, 16> mutes;
        mutes.resize(sideChain.size(), 0.0);
        writeElements(*guards.sideChain, sideChain, change);
        writeElements(*guards.sideChainMute, mutes, change);
    }
    writeElements(guards.outRouting, routing, change);
    writeElements(guards.grouping, grouping, change);
}

void CAudioWrapper::writeElements(CAudioParamGuard& guard, const CVector<double, 16>& values,
                                  const CChangeContext& change) {
    CAudioParam& param = guard.getParam();
    param.applyChange(CAudioParamChange::ofValues(param.getValues().getFormat(), 0, 0,
                                                  values.data(), values.ssize(), false, this),
                      change, &guard);
}

void CAudioWrapper::writeTexts(CAudioParamGuard& guard, const CVector<CString>& texts,
                               const CChangeContext& change) {
    CAudioParam& param = guard.getParam();
    CAudioParamChange written;
    written.format = param.getValues().getFormat();
    written.originator = this;
    written.elementCount = texts.ssize();
    written.data = std::make_unique<CAudioParamData>();
    for (const CString& text : texts) written.values.push_back(written.data->addString(text));
    param.applyChange(written, change, &guard);
}

void CAudioWrapper::importChannelLabels() {
    CAudioParam* names = routingParams->inChannelNames;
    if (!names) return;
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
        writeTexts(guard, labels, change);
    }
    interfaceBase->add(std::move(record)); // the undo lock stands outside the guards
}

} // namespace lum
