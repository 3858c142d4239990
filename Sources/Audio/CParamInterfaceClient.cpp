#include "Audio/CParamInterfaceClient.h"

#include "Core/CMemoryReader.h"

namespace lum {
namespace {

constexpr CEventRow<CParamInterfaceClient> kEvents[] = {
    {"update-undo-history", &CParamInterfaceClient::onUpdateUndoHistory},
    {"update-param-info", &CParamInterfaceClient::onUpdateParamInfo},
    {"update-param", &CParamInterfaceClient::onUpdateParam},
    {"update-registry", &CParamInterfaceClient::onUpdateRegistry},
    {"registry-data", &CParamInterfaceClient::onRegistryData},
};

} // namespace

void CParamInterfaceClient::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addEvents(kEvents);
}

CErrorResult CParamInterfaceClient::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(findObjectByAttr(connector, "client-connector"));
    connector->setClient(this);
    return nullptr;
}

void CParamInterfaceClient::prepareDestroy() {
    if (connector) connector->setClient(nullptr);
    CObject::prepareDestroy();
}

CErrorResult CParamInterfaceClient::receiveMessage(const CByteBuffer& message) {
    platform::CLockGuard hold(clientLock);
    CMemoryReader reader(message);
    CInputStream* outer = std::exchange(input, &reader);
    CString event;
    CErrorResult error = reader.readString(event);
    if (!error) error = runEvent(event);
    input = outer;
    LUM_TRY(std::move(error));
    return nullptr;
}

CErrorResult CParamInterfaceClient::send(const CParamMessage& message) {
    LUM_TRY(connector->sendToBase(message.bytes()));
    return nullptr;
}

int32_t CParamInterfaceClient::makeId(int32_t& counter) const {
    return connector->getClientId() << 16 | (++counter & 0xffff);
}

// Parameters

CErrorResult CParamInterfaceClient::listenParam(int32_t& id, const CString& paramName,
                                                CParamInterfaceParamListener& listener) {
    id = makeId(paramCounter);
    paramListeners[id] = &listener;
    LUM_TRY(send(CParamMessage("listen-param").add(paramName).add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::unlistenParam(int32_t id) {
    paramListeners.erase(id);
    LUM_TRY(send(CParamMessage("unlisten-param").add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::changeParam(int32_t id, int32_t undoId,
                                                const CAudioParamChange& change) {
    LUM_TRY(send(CParamMessage("change-param").add(id).add(undoId).addObject(change)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::resetParam(int32_t id, int group, int element, int32_t undoId,
                                               bool isSingleSource) {
    CParamMessage message("reset-param");
    message.add(id).add(group).add(element).add(undoId).add(isSingleSource);
    LUM_TRY(send(message));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateParamInfo() {
    int32_t id = 0;
    int32_t hasInfo = 0;
    int32_t hasChange = 0;
    LUM_TRY(readArgument(id));
    LUM_TRY(readArgument(hasInfo));
    CAudioParamInfo info;
    if (hasInfo) LUM_TRY(info.load(*input));
    LUM_TRY(readArgument(hasChange));
    CAudioParamChange change;
    if (hasChange) LUM_TRY(change.load(*input));
    const auto found = paramListeners.find(id);
    if (found == paramListeners.end()) return nullptr;
    found->second->onInfo(hasInfo ? &info : nullptr);
    if (hasChange) found->second->onChange(change);
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateParam() {
    int32_t id = 0;
    CAudioParamChange change;
    LUM_TRY(readArgument(id));
    LUM_TRY(change.load(*input));
    const auto found = paramListeners.find(id);
    if (found != paramListeners.end()) found->second->onChange(change);
    return nullptr;
}

// Undo

CErrorResult CParamInterfaceClient::createUndoData(int32_t& undoId, const CString& name,
                                                   bool isMergeable, int32_t mergeKey) {
    undoId = makeId(undoCounter);
    CParamMessage message("create-undo-data");
    message.add(undoId).add(name).add(isMergeable).add(mergeKey);
    LUM_TRY(send(message));
    return nullptr;
}

CErrorResult CParamInterfaceClient::removeUndoData(int32_t undoId) {
    LUM_TRY(send(CParamMessage("remove-undo-data").add(undoId)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::submitUndoData(int32_t undoId, const CString& name) {
    LUM_TRY(send(CParamMessage("submit-undo-data").add(undoId).add(name)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestUndoHistory() {
    LUM_TRY(send(CParamMessage("request-undo-history").add(connector->getClientId())));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setUndoHistoryPos(int position) {
    LUM_TRY(send(CParamMessage("set-undo-history-pos").add(position)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateUndoHistory() {
    int32_t position = 0;
    LUM_TRY(readArgument(position));
    LUM_TRY(readNames(historyNames));
    historyPosition = position;
    LUM_TRY(fireEvent("undo-history-changed", false));
    return nullptr;
}

CErrorResult CParamInterfaceClient::readNames(CVector<CString>& out) {
    uint32_t count = 0;
    LUM_TRY(readArgument(count));
    out.clear();
    for (uint32_t i = 0; i < count; i++) LUM_TRY(input->readString(out.emplace_back()));
    return nullptr;
}

// Registries

CErrorResult CParamInterfaceClient::listenRegistry(int32_t& id, const CString& registryName,
                                                   CParamInterfaceRegistryListener& listener) {
    id = makeId(registryCounter);
    registryListeners[id] = &listener;
    LUM_TRY(send(CParamMessage("listen-registry").add(registryName).add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::unlistenRegistry(int32_t id) {
    registryListeners.erase(id);
    LUM_TRY(send(CParamMessage("unlisten-registry").add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setCurrentProgram(int32_t id, int index) {
    LUM_TRY(send(CParamMessage("set-current-program").add(id).add(index)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::renamePreset(int32_t id, int index, const CString& name) {
    LUM_TRY(send(CParamMessage("rename-preset").add(id).add(index).add(name)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activateFactoryPreset(int32_t id, int index) {
    LUM_TRY(send(CParamMessage("activate-factory-preset").add(id).add(index)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activatePreset(int32_t id, int group,
                                                   const CAudioPreset& preset) {
    LUM_TRY(send(CParamMessage("activate-preset").add(id).add(group).addObject(preset)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestPreset(int32_t id, int32_t requestId, bool isRom,
                                                  int index, int group) {
    CParamMessage message("request-preset");
    message.add(id).add(requestId).add(isRom).add(index).add(group);
    LUM_TRY(send(message));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestBank(int32_t id, int32_t requestId, bool isRom) {
    LUM_TRY(send(CParamMessage("request-bank").add(id).add(requestId).add(isRom)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setDefaultPreset(int32_t id, const CAudioPreset& preset) {
    LUM_TRY(send(CParamMessage("set-default-preset").add(id).addObject(preset)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activateDefaultPreset(int32_t id) {
    LUM_TRY(send(CParamMessage("activate-default-preset").add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::exchangeShadowPreset(int32_t id) {
    LUM_TRY(send(CParamMessage("exchange-shadow-preset").add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::updateShadowPreset(int32_t id) {
    LUM_TRY(send(CParamMessage("update-shadow-preset").add(id)));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateRegistry() {
    int32_t id = 0;
    int32_t isRom = 0;
    CString registryId;
    int32_t current = -1;
    CVector<CString> names;
    LUM_TRY(readArgument(id));
    LUM_TRY(readArgument(isRom));
    LUM_TRY(input->readString(registryId));
    LUM_TRY(readArgument(current));
    LUM_TRY(readNames(names));
    const auto found = registryListeners.find(id);
    if (found != registryListeners.end())
        found->second->update(isRom != 0, registryId, names, current);
    return nullptr;
}

CErrorResult CParamInterfaceClient::onRegistryData() {
    int32_t id = 0;
    int32_t requestId = 0;
    int32_t isPreset = 0;
    LUM_TRY(readArgument(id));
    LUM_TRY(readArgument(requestId));
    LUM_TRY(readArgument(isPreset));
    CAudioPreset preset;
    CAudioPresetBank bank;
    if (isPreset)
        LUM_TRY(preset.load(*input));
    else
        LUM_TRY(bank.load(*input));
    const auto found = registryListeners.find(id);
    if (found == registryListeners.end()) return nullptr;
    if (isPreset)
        found->second->onPreset(requestId, preset);
    else
        found->second->onBank(requestId, bank);
    return nullptr;
}

} // namespace lum
