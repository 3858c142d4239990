#include "Audio/CParamInterfaceBase.h"

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamRegistry.h"

#include <algorithm>

namespace lum {
namespace {

constexpr CEventRow<CParamInterfaceBase> kEvents[] = {
    {"listen-param", &CParamInterfaceBase::onListenParam},
    {"unlisten-param", &CParamInterfaceBase::onUnlistenParam},
    {"change-param", &CParamInterfaceBase::onChangeParam},
    {"reset-param", &CParamInterfaceBase::onResetParam},
    {"create-undo-data", &CParamInterfaceBase::onCreateUndoData},
    {"remove-undo-data", &CParamInterfaceBase::onRemoveUndoData},
    {"submit-undo-data", &CParamInterfaceBase::onSubmitUndoData},
    {"request-undo-history", &CParamInterfaceBase::onRequestUndoHistory},
    {"set-undo-history-pos", &CParamInterfaceBase::onSetUndoHistoryPos},
    {"listen-registry", &CParamInterfaceBase::onListenRegistry},
    {"unlisten-registry", &CParamInterfaceBase::onUnlistenRegistry},
    {"set-current-program", &CParamInterfaceBase::onSetCurrentProgram},
    {"rename-preset", &CParamInterfaceBase::onRenamePreset},
    {"activate-factory-preset", &CParamInterfaceBase::onActivateFactoryPreset},
    {"activate-preset", &CParamInterfaceBase::onActivatePreset},
    {"request-preset", &CParamInterfaceBase::onRequestPreset},
    {"request-bank", &CParamInterfaceBase::onRequestBank},
    {"set-default-preset", &CParamInterfaceBase::onSetDefaultPreset},
    {"activate-default-preset", &CParamInterfaceBase::onActivateDefaultPreset},
    {"exchange-shadow-preset", &CParamInterfaceBase::onExchangeShadowPreset},
    {"update-shadow-preset", &CParamInterfaceBase::onUpdateShadowPreset},
};

/// Key of an element in a record's set of touched ones.
int32_t touchKey(int group, int element) {
    return element << 8 | group;
}

/// Whether the elements of a change can be in a parameter at all.
bool isPlace(const CAudioParamChange& change) {
    return change.group >= 0 && change.group < kMaxParamGroups && change.firstElement >= 0 &&
           change.firstElement <= kMaxParamGroupValues - change.elementCount;
}

} // namespace

/// One per listen id: turns the collector's notifications into messages.
class CParamInterfaceBase::CParamListener : public CUpdateListener, public CLumMemAllocator {
public:
    CParamListener(CParamInterfaceBase& interfaceBase, int32_t listenId, CAudioParam& listened)
        : owner(interfaceBase), id(listenId), param(listened) {}
    ~CParamListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord* record) override {
        const CAudioParamChange& change = *static_cast<const CAudioParamUpdate*>(record)->change;
        if (change.group == kDefinitionGroup)
            owner.sendParamInfo(id, param, change);
        else
            owner.send(clientOf(id), CParamMessage("update-param").add(id).add(change));
    }
    CAudioParam& getParam() const { return param; }

private:
    CParamInterfaceBase& owner;
    int32_t id;
    CAudioParam& param;
};

class CParamInterfaceBase::CRegistryListener : public CUpdateListener, public CLumMemAllocator {
public:
    CRegistryListener(CParamInterfaceBase& interfaceBase, int32_t listenId,
                      CAudioParamRegistry& listened)
        : owner(interfaceBase), id(listenId), registry(listened) {
        attach(&registry, nullptr);
    }
    ~CRegistryListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord*) override { owner.sendRegistry(id, registry, false); }
    CAudioParamRegistry& getRegistry() const { return registry; }

private:
    CParamInterfaceBase& owner;
    int32_t id;
    CAudioParamRegistry& registry;
};

CParamInterfaceBase::CParamInterfaceBase() : CParamMessageReader(static_cast<CObject&>(*this)) {}
CParamInterfaceBase::~CParamInterfaceBase() = default;

void CParamInterfaceBase::fillClass(CClassInfo& info) {
    CAudioParamUndo::fillClass(info);
    info.addEvents(kEvents);
}

CErrorResult CParamInterfaceBase::init() {
    LUM_TRY(CAudioParamUndo::init());
    LUM_TRY(findObjectByAttr(connector, "base-connector"));
    connector->setBase(this);
    return nullptr;
}

void CParamInterfaceBase::disconnect() {
    if (connector) connector->setBase(nullptr);
}

void CParamInterfaceBase::prepareDestroy() {
    disconnect();
    {
        platform::CLockGuard hold(messageLock);
        paramListeners.clear();
        registryListeners.clear();
        for (auto& [undoId, record] : openRecords) endEdits(*record);
        openRecords.clear();
    }
    CAudioParamUndo::prepareDestroy();
}

void CParamInterfaceBase::onClientGone(int clientId) {
    platform::CLockGuard hold(messageLock);
    const auto isOfClient = [clientId](const auto& item) {
        return clientOf(item.first) == clientId;
    };
    std::erase_if(paramListeners, isOfClient);
    std::erase_if(registryListeners, isOfClient);
    for (auto& [undoId, record] : openRecords)
        if (clientOf(undoId) == clientId) endEdits(*record);
    std::erase_if(openRecords, isOfClient);
}

void CParamInterfaceBase::send(int clientId, const CParamMessage& message) {
    connector->sendToClient(clientId, message.bytes());
}

// Parameters

CErrorResult CParamInterfaceBase::onListenParam() {
    CString name;
    int32_t id = 0;
    LUM_TRY(read(name, id));
    if (paramListeners.contains(id)) return nullptr;
    CAudioParam& param = collector->getParam(name);
    auto listener = std::make_unique<CParamListener>(*this, id, param);
    CAudioParamGuard guard(
        param); // no change slips in between the present state and the first news
    listener->attach(collector, &param);
    sendWholeParam(id, param);
    paramListeners[id] = std::move(listener);
    return nullptr;
}

void CParamInterfaceBase::sendWholeParam(int32_t id, CAudioParam& param) {
    if (!param.isBound()) {
        send(clientOf(id), CParamMessage("update-param-info").add(id).add(false).add(false));
        return;
    }
    sendParamInfo(id, param, CAudioParamChange::ofDefaults(param.getInfo()->defaults, nullptr));
    const CAudioParamStorage& values = param.getValues();
    for (int group = 0; group < values.getGroupCount(); group++) {
        CParamMessage message("update-param");
        message.add(id).add(CAudioParamChange::ofGroup(values, group, nullptr));
        send(clientOf(id), message);
    }
}

void CParamInterfaceBase::sendParamInfo(int32_t id, CAudioParam& param,
                                        const CAudioParamChange& change) {
    CParamMessage message("update-param-info");
    message.add(id).add(param.isBound());
    if (param.isBound()) message.add(*param.getInfo());
    message.add(true).add(change);
    send(clientOf(id), message);
}

CErrorResult CParamInterfaceBase::onUnlistenParam() {
    int32_t id = 0;
    LUM_TRY(read(id));
    paramListeners.erase(id);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onChangeParam() {
    int32_t id = 0;
    int32_t undoId = 0;
    CAudioParamChange change;
    LUM_TRY(read(id, undoId, change));
    const auto found = paramListeners.find(id);
    if (found == paramListeners.end()) return nullptr;
    CAudioParam& param = found->second->getParam();
    const CAudioParamInfo* info = param.getInfo();
    if (!info || change.format.elementSize != info->format.elementSize ||
        change.format.dataType != info->format.dataType || !isPlace(change))
        return nullptr;
    CAudioParamUndoRecord* record = findRecord(undoId);
    // The host is told before the guard is taken: it may be inside a call that waits for it.
    if (record) beginEdits(param, change, *record);
    CAudioParamGuard guard(param);
    turnNamesToUser(param, change.group, record);
    change.format = info->format;
    change.originator = this;
    CChangeContext context;
    context.undo = record;
    param.applyChange(change, context, &guard);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onResetParam() {
    int32_t id = 0;
    int32_t group = 0;
    int32_t element = 0;
    int32_t undoId = 0;
    int32_t isSingleSource = 0;
    LUM_TRY(read(id, group, element, undoId, isSingleSource));
    const auto found = paramListeners.find(id);
    if (found == paramListeners.end()) return nullptr;
    CAudioParam& param = found->second->getParam();
    CAudioParamGuard guard(param);
    if (!param.isBound()) return nullptr;
    CChangeContext context;
    context.undo = findRecord(undoId);
    param.reset(group, element, context, isSingleSource != 0, &guard);
    return nullptr;
}

void CParamInterfaceBase::turnNamesToUser(CAudioParam& param, int group, CParamUndoRecord* undo) {
    for (CAudioParamRegistryBase* registry : param.getPresetNameRegistries())
        if (auto* named = dynamic_cast<CAudioParamRegistry*>(registry))
            named->turnNameToUser(param, group, undo);
}

// Undo

CAudioParamUndoRecord* CParamInterfaceBase::findRecord(int32_t undoId) {
    const auto found = openRecords.find(undoId);
    return found == openRecords.end() ? nullptr : found->second.get();
}

CErrorResult CParamInterfaceBase::onCreateUndoData() {
    int32_t undoId = 0;
    CString name;
    int32_t isMergeable = 0;
    int32_t mergeKey = 0;
    LUM_TRY(read(undoId, name, isMergeable, mergeKey));
    if (CAudioParamUndoRecord* old = findRecord(undoId)) endEdits(*old);
    auto record = std::make_unique<CAudioParamUndoRecord>(name, isMergeable != 0, mergeKey);
    record->epoch = getEpoch();
    openRecords[undoId] = std::move(record);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onRemoveUndoData() {
    int32_t undoId = 0;
    LUM_TRY(read(undoId));
    if (CAudioParamUndoRecord* record = findRecord(undoId)) endEdits(*record);
    openRecords.erase(undoId);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onSubmitUndoData() {
    int32_t undoId = 0;
    CString name;
    LUM_TRY(read(undoId, name));
    const auto found = openRecords.find(undoId);
    if (found == openRecords.end()) return nullptr;
    std::unique_ptr<CAudioParamUndoRecord> record = std::move(found->second);
    openRecords.erase(found);
    if (!name.empty()) record->name = name;
    endEdits(*record);
    add(std::move(record));
    return nullptr;
}

/// An element that two clients hold at once is begun with the first and ended with the last of
/// them: hosts end writing automation at the first end that they hear.
void CParamInterfaceBase::beginEdits(CAudioParam& param, const CAudioParamChange& change,
                                     CAudioParamUndoRecord& record) {
    for (int element = change.firstElement; element < change.end(); element++) {
        const int32_t key = touchKey(change.group, element);
        const bool isHeld = isTouched(param, key);
        if (record.touchedKeys[&param].insert(key).second && !isHeld)
            editBegin(param, change.group, element);
    }
}

void CParamInterfaceBase::endEdits(CAudioParamUndoRecord& record) {
    const auto touched = std::exchange(record.touchedKeys, {});
    for (const auto& [param, keys] : touched)
        for (const int32_t key : keys)
            if (!isTouched(*param, key)) editEnd(*param, key & 255, key >> 8);
}

bool CParamInterfaceBase::isTouched(CAudioParam& param, int32_t key) const {
    for (const auto& [undoId, record] : openRecords) {
        const auto found = record->touchedKeys.find(&param);
        if (found != record->touchedKeys.end() && found->second.contains(key)) return true;
    }
    return false;
}

CErrorResult CParamInterfaceBase::onRequestUndoHistory() {
    int32_t clientId = 0;
    LUM_TRY(read(clientId));
    sendHistory(clientId);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onSetUndoHistoryPos() {
    int32_t position = 0;
    LUM_TRY(read(position));
    setPosition(position, true);
    return nullptr;
}

void CParamInterfaceBase::onHistoryChanged() {
    sendHistory(kAllClients);
}

/// Sends again what somebody else's news has overtaken, so that the last message is the truth.
void CParamInterfaceBase::sendHistory(int clientId) {
    CNameList present = readHistory();
    for (bool isTrue = false; !isTrue;) {
        CParamMessage message("update-undo-history");
        message.add(present.current).add(present.names.ssize());
        for (const CString& name : present.names) message.add(name);
        send(clientId, message);
        isTrue = present.becomes(readHistory());
    }
}

CParamInterfaceBase::CNameList CParamInterfaceBase::readHistory() {
    CNameList list;
    getHistoryNames(list.names, list.current);
    return list;
}

// Registries

CErrorResult CParamInterfaceBase::onListenRegistry() {
    CString name;
    int32_t id = 0;
    LUM_TRY(read(name, id));
    CObject* object = findObject(name);
    if (!object)
        return LUM_FAIL("@lumstr_CParamInterfaceBase_listenRegistry_NotFound No param registry "
                        "object '%1' found.",
                        name);
    auto* registry = dynamic_cast<CAudioParamRegistry*>(object);
    if (!registry)
        return LUM_FAIL(
            "@lumstr_CParamInterfaceBase_listenRegistry_Null Param registry object '%1' "
            "is NULL.",
            name);
    if (registryListeners.contains(id)) return nullptr;
    registryListeners[id] = std::make_unique<CRegistryListener>(*this, id, *registry);
    sendRegistry(id, *registry, false);
    if (registry->isMaster()) sendRegistry(id, *registry, true);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onUnlistenRegistry() {
    int32_t id = 0;
    LUM_TRY(read(id));
    registryListeners.erase(id);
    return nullptr;
}

/// As sendHistory.
void CParamInterfaceBase::sendRegistry(int32_t id, CAudioParamRegistry& registry, bool isRom) {
    CNameList present = readRegistryNames(registry, isRom);
    for (bool isTrue = false; !isTrue;) {
        CParamMessage message("update-registry");
        message.add(id).add(isRom).add(registry.getId());
        message.add(present.current).add(present.names.ssize());
        for (const CString& name : present.names) message.add(name);
        send(clientOf(id), message);
        isTrue = present.becomes(readRegistryNames(registry, isRom));
    }
}

CParamInterfaceBase::CNameList
CParamInterfaceBase::readRegistryNames(const CAudioParamRegistry& registry, bool isRom) {
    CNameList list;
    registry.getPresetNames(isRom, list.names, list.current);
    return list;
}

/// Gives whether it was that before.
bool CParamInterfaceBase::CNameList::becomes(CNameList other) {
    const bool isSame = current == other.current && std::ranges::equal(names, other.names);
    *this = std::move(other);
    return isSame;
}

CAudioParamRegistry* CParamInterfaceBase::findRegistry(int32_t id) const {
    const auto found = registryListeners.find(id);
    return found == registryListeners.end() ? nullptr : &found->second->getRegistry();
}

/// Reads a listen id and what follows it; `out` is null when nobody listens under the id.
template <class... T>
CErrorResult CParamInterfaceBase::readRegistry(CAudioParamRegistry*& out, T&... more) {
    int32_t id = 0;
    LUM_TRY(read(id, more...));
    out = findRegistry(id);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onSetCurrentProgram() {
    CAudioParamRegistry* registry = nullptr;
    int32_t index = 0;
    LUM_TRY(readRegistry(registry, index));
    if (registry) registry->setCurrentProgram(index, this);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onRenamePreset() {
    CAudioParamRegistry* registry = nullptr;
    int32_t index = 0;
    CString name;
    LUM_TRY(readRegistry(registry, index, name));
    if (registry) registry->renamePreset(index, name, this);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onActivateFactoryPreset() {
    CAudioParamRegistry* registry = nullptr;
    int32_t index = 0;
    LUM_TRY(readRegistry(registry, index));
    if (registry) registry->activateFactoryPreset(index);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onActivatePreset() {
    CAudioParamRegistry* registry = nullptr;
    int32_t group = 0;
    LUM_TRY(readRegistry(registry, group));
    if (!registry || group >= kMaxParamGroups) return nullptr;
    LUM_TRY(registry->activatePreset(*input, false, group));
    return nullptr;
}

CErrorResult CParamInterfaceBase::onRequestPreset() {
    int32_t id = 0;
    int32_t requestId = 0;
    int32_t isRom = 0;
    int32_t index = 0;
    int32_t group = 0;
    LUM_TRY(read(id, requestId, isRom, index, group));
    CAudioParamRegistry* registry = findRegistry(id);
    if (!registry) return nullptr;
    CParamMessage answer("registry-data");
    answer.add(id).add(requestId).add(true);
    LUM_TRY(registry->acquirePreset(isRom != 0, index, group, answer.stream()));
    send(clientOf(id), answer);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onRequestBank() {
    int32_t id = 0;
    int32_t requestId = 0;
    int32_t isRom = 0;
    LUM_TRY(read(id, requestId, isRom));
    CAudioParamRegistry* registry = findRegistry(id);
    if (!registry) return nullptr;
    CParamMessage answer("registry-data");
    answer.add(id).add(requestId).add(false);
    LUM_TRY(registry->acquireBank(isRom != 0, answer.stream()));
    send(clientOf(id), answer);
    return nullptr;
}

CErrorResult CParamInterfaceBase::onSetDefaultPreset() {
    CAudioParamRegistry* registry = nullptr;
    LUM_TRY(readRegistry(registry));
    if (registry) LUM_TRY(registry->setDefaultPreset(*input));
    return nullptr;
}

CErrorResult CParamInterfaceBase::onActivateDefaultPreset() {
    CAudioParamRegistry* registry = nullptr;
    LUM_TRY(readRegistry(registry));
    if (registry) registry->masterReset();
    return nullptr;
}

CErrorResult CParamInterfaceBase::onExchangeShadowPreset() {
    CAudioParamRegistry* registry = nullptr;
    LUM_TRY(readRegistry(registry));
    if (registry) registry->exchangeShadow();
    return nullptr;
}

CErrorResult CParamInterfaceBase::onUpdateShadowPreset() {
    CAudioParamRegistry* registry = nullptr;
    LUM_TRY(readRegistry(registry));
    if (registry) registry->updateShadow();
    return nullptr;
}

} // namespace lum
