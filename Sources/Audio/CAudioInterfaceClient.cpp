#include "Audio/CAudioInterfaceClient.h"

namespace lum {
namespace {

constexpr CEventRow<CAudioInterfaceClient> kEvents[] = {
    {"update-internal-channel-count", &CAudioInterfaceClient::onUpdateInternalChannelCount},
    {"update-group-count", &CAudioInterfaceClient::onUpdateGroupCount},
    {"update-io-channel-counts", &CAudioInterfaceClient::onUpdateIoChannelCounts},
    {"update-sample-rate", &CAudioInterfaceClient::onUpdateSampleRate},
    {"start-viz", &CAudioInterfaceClient::onStartViz},
    {"stop-viz", &CAudioInterfaceClient::onStopViz},
    {"clear-client", &CAudioInterfaceClient::onClearClient},
    {"viz-data", &CAudioInterfaceClient::onVizData},
    {"export-slot-names", &CAudioInterfaceClient::onExportSlotNames},
};

} // namespace

/// Keeps a copy of the group names.
class CAudioInterfaceClient::CGroupNamesParamListener : public CParamInterfaceParamListener,
                                                        public CLumMemAllocator {
public:
    void onInfo(const CAudioParamInfo*) override {}
    void onChange(const CAudioParamChange& change) override {
        if (change.group == kDefinitionGroup) storage.setFormat(change.format);
        storage.apply(change);
    }
    CString nameOf(int group) const { return storage.readString(0, group); }

private:
    CAudioParamStorage storage;
};

CAudioInterfaceClient::CAudioInterfaceClient() = default;
CAudioInterfaceClient::~CAudioInterfaceClient() = default;

void CAudioInterfaceClient::fillClass(CClassInfo& info) {
    CParamInterfaceClient::fillClass(info);
    info.addEvents(kEvents);
}

CErrorResult CAudioInterfaceClient::initDone() {
    LUM_TRY(CParamInterfaceClient::initDone());
    for (const char* event : {"request-internal-channel-count", "request-group-count",
                              "request-io-channel-counts", "request-sample-rate"})
        LUM_TRY(request(event));
    const CString param = getAttrString("group-names-param");
    if (param.empty()) return nullptr;
    groupNames = std::make_unique<CGroupNamesParamListener>();
    int32_t id = 0;
    LUM_TRY(listenParam(id, param, *groupNames));
    return nullptr;
}

void CAudioInterfaceClient::prepareDestroy() {
    vizProcessor = nullptr;
    CParamInterfaceClient::prepareDestroy();
}

CErrorResult CAudioInterfaceClient::request(const char* event) {
    LUM_TRY(send(event, getConnector()->getClientId()));
    return nullptr;
}

CString CAudioInterfaceClient::getGroupName(int group) const {
    return groupNames ? groupNames->nameOf(group) : CString();
}

CErrorResult CAudioInterfaceClient::importChannelLabels() {
    LUM_TRY(send("import-channel-labels"));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::listenViz(int32_t& id, int slot, const CString& source) {
    id = makeId(vizCounter);
    LUM_TRY(send("listen-viz", slot, source, id));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::unlistenViz(int32_t id) {
    LUM_TRY(send("unlisten-viz", id));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::requestVizData(double displayRate) {
    LUM_TRY(send("request-viz-data", getConnector()->getClientId(), displayRate));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::requestExportSlotNames() {
    LUM_TRY(request("request-export-slot-names"));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onUpdateInternalChannelCount() {
    LUM_TRY(read(internalChannels));
    LUM_TRY(fireEvent("update-internal-channel-count", false));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onUpdateGroupCount() {
    LUM_TRY(read(groups));
    LUM_TRY(fireEvent("update-group-count", false));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onUpdateIoChannelCounts() {
    LUM_TRY(read(inChannels, outChannels, sideChainChannels));
    LUM_TRY(fireEvent("update-io-channel-counts", false));
    return nullptr;
}

/// Answers may overtake one another on their way; the higher number is the later rate.
CErrorResult CAudioInterfaceClient::onUpdateSampleRate() {
    int32_t number = 0;
    double rate = 0.0;
    LUM_TRY(read(number, rate));
    if (number < sampleRateNumber) return nullptr;
    sampleRateNumber = number;
    sampleRate = rate;
    LUM_TRY(fireEvent("update-sample-rate", false));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onStartViz() {
    if (vizProcessor) vizProcessor->startViz();
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onStopViz() {
    if (vizProcessor) vizProcessor->stopViz();
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onClearClient() {
    if (vizProcessor) vizProcessor->clearViz();
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onVizData() {
    if (vizProcessor) LUM_TRY(vizProcessor->onVizData(*input));
    return nullptr;
}

CErrorResult CAudioInterfaceClient::onExportSlotNames() {
    if (vizProcessor) LUM_TRY(vizProcessor->onExportSlotNames(*input));
    return nullptr;
}

} // namespace lum
