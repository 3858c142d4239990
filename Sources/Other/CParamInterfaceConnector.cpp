#include "Other/CParamInterfaceConnector.h"

namespace lum {
namespace {

constexpr const char* kProxyEvent = "process-base-data-proxy";

constexpr CAttrRow<CParamInterfaceClientConnectorUni> kClientAttrs[] = {
    {"fps", &CParamInterfaceClientConnectorUni::attrFps}, // drains a second
};

constexpr CEventRow<CParamInterfaceClientConnectorUni> kClientEvents[] = {
    {"drain-base-data", &CParamInterfaceClientConnectorUni::drain},
    {"process-base-data", &CParamInterfaceClientConnectorUni::processBaseData},
};

} // namespace

void CParamInterfaceBaseConnector::setBase(CParamMessageReceiver* receiver) {
    platform::CLockGuard hold(handlingLock);
    base = receiver;
}

void CParamInterfaceBaseConnectorUni::sendToClient(int clientId, const CByteBuffer& message) {
    platform::CSpinGuard hold(queueLock);
    for (auto& [id, queue] : queues)
        if (clientId == kAllClients || clientId == id) queue.messages.push_back(message);
}

int CParamInterfaceBaseConnectorUni::registerClient() {
    platform::CSpinGuard hold(queueLock);
    queues[++lastClientId];
    return lastClientId;
}

void CParamInterfaceBaseConnectorUni::unregisterClient(int clientId) {
    platform::CLockGuard hold(handlingLock);
    if (base) base->onClientGone(clientId);
    CQueue dropped;
    platform::CSpinGuard holdQueues(queueLock);
    const auto found = queues.find(clientId);
    if (found == queues.end()) return;
    std::swap(dropped, found->second);
    queues.erase(found);
}

CErrorResult CParamInterfaceBaseConnectorUni::processClientData(const CByteBuffer& message) {
    platform::CLockGuard hold(handlingLock);
    if (!base)
        return LUM_FAIL("@lumstr_CParamInterfaceBaseConnectorUni_processClientData No base object "
                        "defined.");
    LUM_TRY(base->receiveMessage(message));
    return nullptr;
}

bool CParamInterfaceBaseConnectorUni::takeMessage(int clientId, CByteBuffer& out) {
    platform::CSpinGuard hold(queueLock);
    const auto found = queues.find(clientId);
    if (found == queues.end()) return false;
    CQueue& queue = found->second;
    if (queue.readIndex == queue.messages.size()) {
        queue.messages.clear();
        queue.readIndex = 0;
        return false;
    }
    out = std::move(queue.messages[queue.readIndex++]);
    return true;
}

void CParamInterfaceClientConnectorUni::fillClass(CClassInfo& info) {
    CParamInterfaceClientConnector::fillClass(info);
    info.addAttrs(kClientAttrs);
    info.addEvents(kClientEvents);
}

CErrorResult CParamInterfaceClientConnectorUni::init() {
    LUM_TRY(CParamInterfaceClientConnector::init());
    const CObject* engineRoot = getRoot();
    // An interface tree is another tree than the engine's and knows that one by its root.
    if (const CAttrEntry* entry = engineRoot->findAttr("BaseConnectorRootPtr")) {
        void* address = nullptr;
        if (entry->toPointer(address) && address) engineRoot = static_cast<CObject*>(address);
    }
    LUM_TRY(engineRoot->findObjectChecked(baseConnector, getAttrString("base-connector")));
    clientId = baseConnector->registerClient();
    return nullptr;
}

CErrorResult CParamInterfaceClientConnectorUni::initDone() {
    LUM_TRY(CParamInterfaceClientConnector::initDone());
    listenObject(getFullName(), kProxyEvent, "process-base-data");
    const CString timerTag = getAttrString("timer-tag");
    if (timerTag.empty()) return nullptr;
    CAttrMap extra;
    extra["fps"] = CAttrEntry::ofReal(getAttrReal("fps"));
    LUM_TRY(createChild(timer, timerTag, "timer", false, nullptr, &extra));
    listenObject(timer->getFullName(), "tick", "drain-base-data");
    return nullptr;
}

void CParamInterfaceClientConnectorUni::prepareDestroy() {
    if (baseConnector) baseConnector->unregisterClient(clientId);
    baseConnector = nullptr;
    CParamInterfaceClientConnector::prepareDestroy();
}

CErrorResult CParamInterfaceClientConnectorUni::attrFps(const CAttrEntry& value) {
    if (timer) LUM_TRY(timer->setAttrValue("fps", CAttrEntry::ofReal(value.realOr(0.0)), true));
    return nullptr;
}

CErrorResult CParamInterfaceClientConnectorUni::sendToBase(const CByteBuffer& message) {
    if (!baseConnector) // a late word of a view while the tree goes
        return LUM_FAIL("@lumstr_CParamInterfaceClientConnectorUni_sendToBase No base object "
                        "defined.");
    LUM_TRY(baseConnector->processClientData(message));
    return nullptr;
}

CErrorResult CParamInterfaceClientConnectorUni::drain() {
    CByteBuffer message;
    while (baseConnector && baseConnector->takeMessage(clientId, message)) {
        {
            platform::CSpinGuard hold(pendingLock);
            pending.push_back(std::move(message));
        }
        LUM_TRY(fireEvent(kProxyEvent, false));
    }
    return nullptr;
}

CErrorResult CParamInterfaceClientConnectorUni::processBaseData() {
    CVector<CByteBuffer, 1> taken;
    {
        platform::CSpinGuard hold(pendingLock);
        taken = std::move(pending);
        pending.clear();
    }
    platform::CLockGuard hold(handlingLock);
    if (!client)
        return LUM_FAIL(
            "@lumstr_CParamInterfaceClientConnectorUni_processBaseData No client object "
            "defined.");
    CErrorResult failure; // one message that fails costs the others nothing
    for (const CByteBuffer& message : taken)
        if (CErrorResult error = client->receiveMessage(message)) {
            if (failure) logAndDropError(std::move(failure));
            failure = std::move(error);
        }
    LUM_TRY(std::move(failure));
    return nullptr;
}

} // namespace lum
