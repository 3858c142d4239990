#include "Audio/CAudioInterfaceBase.h"

#include "Audio/CAudioInterfaceDataProvider.h"
#include "Audio/CAudioVizCollector.h"

#include <array>

namespace lum {
namespace {

constexpr CEventRow<CAudioInterfaceBase> kEvents[] = {
    {"request-internal-channel-count", &CAudioInterfaceBase::onRequestInternalChannelCount},
    {"request-group-count", &CAudioInterfaceBase::onRequestGroupCount},
    {"request-io-channel-counts", &CAudioInterfaceBase::onRequestIoChannelCounts},
    {"request-sample-rate", &CAudioInterfaceBase::onRequestSampleRate},
    {"import-channel-labels", &CAudioInterfaceBase::onImportChannelLabels},
    {"listen-viz", &CAudioInterfaceBase::onListenViz},
    {"unlisten-viz", &CAudioInterfaceBase::onUnlistenViz},
    {"request-viz-data", &CAudioInterfaceBase::onRequestVizData},
    {"request-export-slot-names", &CAudioInterfaceBase::onRequestExportSlotNames},
};

} // namespace

class CAudioInterfaceBase::CExportNamesListener : public COwnedUpdateListener<CAudioInterfaceBase>,
                                                  public CLumMemAllocator {
public:
    using COwnedUpdateListener::COwnedUpdateListener;
    ~CExportNamesListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord*) override { owner->sendExportSlotNames(kAllClients); }
};

CAudioInterfaceBase::CAudioInterfaceBase() = default;
CAudioInterfaceBase::~CAudioInterfaceBase() = default;

void CAudioInterfaceBase::fillClass(CClassInfo& info) {
    CParamInterfaceBase::fillClass(info);
    info.addEvents(kEvents);
}

CErrorResult CAudioInterfaceBase::init() {
    LUM_TRY(CParamInterfaceBase::init());
    LUM_TRY(findObjectByAttr(vizCollector, "viz-collector"));
    exportNamesListener = std::make_unique<CExportNamesListener>(*this);
    exportNamesListener->attach(vizCollector, nullptr);
    return nullptr;
}

void CAudioInterfaceBase::prepareDestroy() {
    disconnect();
    exportNamesListener.reset();
    if (vizCollector)
        for (const auto& [id, listener] : vizListeners)
            vizCollector->removeListener(listener.slot, listener.source);
    vizListeners.clear();
    CParamInterfaceBase::prepareDestroy();
}

void CAudioInterfaceBase::onClientGone(int clientId) {
    platform::CLockGuard hold(messageLock);
    for (const auto& [id, listener] : vizListeners)
        if (clientOf(id) == clientId) vizCollector->removeListener(listener.slot, listener.source);
    std::erase_if(vizListeners,
                  [clientId](const auto& item) { return clientOf(item.first) == clientId; });
    CParamInterfaceBase::onClientGone(clientId);
}

void CAudioInterfaceBase::setDataProvider(CAudioInterfaceDataProvider* dataProvider) {
    platform::CLockGuard hold(messageLock);
    provider = dataProvider;
}

void CAudioInterfaceBase::editBegin(CAudioParam& param, int group, int element) {
    if (provider) provider->paramBeginEdit(param, element, group);
}

void CAudioInterfaceBase::editEnd(CAudioParam& param, int group, int element) {
    if (provider) provider->paramEndEdit(param, element, group);
}

// Facts

void CAudioInterfaceBase::sendSampleRate() {
    sampleRateNumber.fetch_add(1, std::memory_order_acq_rel);
    sendSampleRateTo(kAllClients);
}

void CAudioInterfaceBase::sendSampleRateTo(int clientId) {
    if (!provider) return;
    const int32_t number = sampleRateNumber.load(std::memory_order_acquire);
    send(clientId, CParamMessage("update-sample-rate").add(number).add(provider->getSampleRate()));
}

void CAudioInterfaceBase::sendChannelCounts() {
    sendIoChannelCountsTo(kAllClients);
}

/// Sends again what somebody else's news has overtaken.
void CAudioInterfaceBase::sendIoChannelCountsTo(int clientId) {
    if (!provider) return;
    const auto read = [this] {
        return std::array{provider->getInChannelCount(), provider->getOutChannelCount(),
                          provider->getSideChainChannelCount()};
    };
    auto counts = read();
    for (bool isTrue = false; !isTrue;) {
        CParamMessage message("update-io-channel-counts");
        for (const int count : counts) message.add(count);
        send(clientId, message);
        const auto present = read();
        isTrue = present == counts;
        counts = present;
    }
}

CErrorResult CAudioInterfaceBase::onRequestInternalChannelCount() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    if (provider)
        send(clientId,
             CParamMessage("update-internal-channel-count").add(provider->getIntChannelCount()));
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onRequestGroupCount() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    if (provider)
        send(clientId, CParamMessage("update-group-count").add(provider->getGroupCount()));
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onRequestIoChannelCounts() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    sendIoChannelCountsTo(clientId);
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onRequestSampleRate() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    sendSampleRateTo(clientId);
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onImportChannelLabels() {
    if (provider) provider->importChannelLabels();
    return nullptr;
}

// Visual data

void CAudioInterfaceBase::sendStartViz() {
    send(kAllClients, CParamMessage("start-viz"));
}
void CAudioInterfaceBase::sendStopViz() {
    send(kAllClients, CParamMessage("stop-viz"));
}
void CAudioInterfaceBase::sendClearClient() {
    send(kAllClients, CParamMessage("clear-client"));
}

CErrorResult CAudioInterfaceBase::onListenViz() {
    int32_t slot = 0;
    CString source;
    int32_t id = 0;
    LUM_TRY(read(slot, source, id));
    if (!vizListeners.emplace(id, CVizListener{slot, source}).second) return nullptr;
    vizCollector->addListener(slot, source);
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onUnlistenViz() {
    int32_t id = 0;
    LUM_TRY(read(id));
    const auto found = vizListeners.find(id);
    if (found == vizListeners.end()) return nullptr;
    vizCollector->removeListener(found->second.slot, found->second.source);
    vizListeners.erase(found);
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onRequestVizData() {
    int32_t clientId = 0;
    double displayRate = 0.0;
    LUM_TRY(read(clientId, displayRate));
    CParamMessage message("viz-data");
    CErrorResult error = vizCollector->saveVizData(message.stream(), displayRate);
    if (error)
        logAndDropError(std::move(error));
    else
        send(clientId, message);
    return nullptr;
}

CErrorResult CAudioInterfaceBase::onRequestExportSlotNames() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    sendExportSlotNames(clientId);
    return nullptr;
}

void CAudioInterfaceBase::sendExportSlotNames(int clientId) {
    CParamMessage message("export-slot-names");
    CErrorResult error = vizCollector->saveExportNames(message.stream());
    if (error)
        logAndDropError(std::move(error));
    else
        send(clientId, message);
}

} // namespace lum
