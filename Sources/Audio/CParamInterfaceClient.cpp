#include "Audio/CParamInterfaceClient.h"

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

int32_t CParamInterfaceClient::makeId(int32_t& counter) const {
    return connector->getClientId() << 16 | (++counter & 0xffff);
}

// Parameters

CErrorResult CParamInterfaceClient::listenParam(int32_t& id, const CString& paramName,
                                                CParamInterfaceParamListener& listener) {
    id = makeId(paramCounter);
    paramListeners[id] = &listener;
    CErrorResult failure = send("listen-param", paramName, id);
    if (failure) paramListeners.erase(id);
    LUM_TRY(std::move(failure));
    return nullptr;
}

CErrorResult CParamInterfaceClient::unlistenParam(int32_t id) {
    paramListeners.erase(id);
    LUM_TRY(send("unlisten-param", id));
    return nullptr;
}

CErrorResult CParamInterfaceClient::changeParam(int32_t id, int32_t undoId,
                                                const CAudioParamChange& change) {
    LUM_TRY(send("change-param", id, undoId, change));
    return nullptr;
}

CErrorResult CParamInterfaceClient::resetParam(int32_t id, int group, int element, int32_t undoId,
                                               bool isSingleSource) {
    LUM_TRY(send("reset-param", id, group, element, undoId, isSingleSource));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateParamInfo() {
    int32_t id = 0;
    int32_t hasInfo = 0;
    int32_t hasChange = 0;
    LUM_TRY(read(id, hasInfo));
    CAudioParamInfo info;
    if (hasInfo) LUM_TRY(info.load(*input));
    LUM_TRY(read(hasChange));
    CAudioParamChange change;
    if (hasChange) LUM_TRY(change.load(*input));
    const auto found = paramListeners.find(id);
    if (found != paramListeners.end()) found->second->onInfo(hasInfo ? &info : nullptr);
    if (hasChange) tellChange(id, change); // the listener may have left on the info
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateParam() {
    int32_t id = 0;
    CAudioParamChange change;
    LUM_TRY(read(id, change));
    tellChange(id, change);
    return nullptr;
}

void CParamInterfaceClient::tellChange(int32_t id, const CAudioParamChange& change) {
    const auto found = paramListeners.find(id);
    if (found != paramListeners.end()) found->second->onChange(change);
}

// Undo

CErrorResult CParamInterfaceClient::createUndoData(int32_t& undoId, const CString& name,
                                                   bool isMergeable, int32_t mergeKey) {
    undoId = makeId(undoCounter);
    LUM_TRY(send("create-undo-data", undoId, name, isMergeable, mergeKey));
    return nullptr;
}

CErrorResult CParamInterfaceClient::removeUndoData(int32_t undoId) {
    LUM_TRY(send("remove-undo-data", undoId));
    return nullptr;
}

CErrorResult CParamInterfaceClient::submitUndoData(int32_t undoId, const CString& name) {
    LUM_TRY(send("submit-undo-data", undoId, name));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestUndoHistory() {
    LUM_TRY(send("request-undo-history", connector->getClientId()));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setUndoHistoryPos(int position) {
    LUM_TRY(send("set-undo-history-pos", position));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateUndoHistory() {
    int32_t position = 0;
    LUM_TRY(read(position));
    LUM_TRY(readNames(historyNames));
    historyPosition = position;
    LUM_TRY(fireEvent("undo-history-changed", false));
    return nullptr;
}

CErrorResult CParamInterfaceClient::readNames(CVector<CString>& out) {
    uint32_t count = 0;
    LUM_TRY(read(count));
    out.clear();
    for (uint32_t i = 0; i < count; i++) LUM_TRY(input->readString(out.emplace_back()));
    return nullptr;
}

// Registries

CErrorResult CParamInterfaceClient::listenRegistry(int32_t& id, const CString& registryName,
                                                   CParamInterfaceRegistryListener& listener) {
    id = makeId(registryCounter);
    registryListeners[id] = &listener;
    CErrorResult failure = send("listen-registry", registryName, id);
    if (failure) registryListeners.erase(id);
    LUM_TRY(std::move(failure));
    return nullptr;
}

CErrorResult CParamInterfaceClient::unlistenRegistry(int32_t id) {
    registryListeners.erase(id);
    LUM_TRY(send("unlisten-registry", id));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setCurrentProgram(int32_t id, int index) {
    LUM_TRY(send("set-current-program", id, index));
    return nullptr;
}

CErrorResult CParamInterfaceClient::renamePreset(int32_t id, int index, const CString& name) {
    LUM_TRY(send("rename-preset", id, index, name));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activateFactoryPreset(int32_t id, int index) {
    LUM_TRY(send("activate-factory-preset", id, index));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activatePreset(int32_t id, int group,
                                                   const CAudioPreset& preset) {
    LUM_TRY(send("activate-preset", id, group, preset));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestPreset(int32_t id, int32_t requestId, bool isRom,
                                                  int index, int group) {
    LUM_TRY(send("request-preset", id, requestId, isRom, index, group));
    return nullptr;
}

CErrorResult CParamInterfaceClient::requestBank(int32_t id, int32_t requestId, bool isRom) {
    LUM_TRY(send("request-bank", id, requestId, isRom));
    return nullptr;
}

CErrorResult CParamInterfaceClient::setDefaultPreset(int32_t id, const CAudioPreset& preset) {
    LUM_TRY(send("set-default-preset", id, preset));
    return nullptr;
}

CErrorResult CParamInterfaceClient::activateDefaultPreset(int32_t id) {
    LUM_TRY(send("activate-default-preset", id));
    return nullptr;
}

CErrorResult CParamInterfaceClient::exchangeShadowPreset(int32_t id) {
    LUM_TRY(send("exchange-shadow-preset", id));
    return nullptr;
}

CErrorResult CParamInterfaceClient::updateShadowPreset(int32_t id) {
    LUM_TRY(send("update-shadow-preset", id));
    return nullptr;
}

CErrorResult CParamInterfaceClient::onUpdateRegistry() {
    int32_t id = 0;
    int32_t isRom = 0;
    CString registryId;
    int32_t current = -1;
    CVector<CString> names;
    LUM_TRY(read(id, isRom, registryId, current));
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
    LUM_TRY(read(id, requestId, isPreset));
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
