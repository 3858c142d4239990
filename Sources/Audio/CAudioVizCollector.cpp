#include "Audio/CAudioVizCollector.h"

#include "Audio/CAudioEnv.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CControlWriteQueue.h"

namespace lum {
namespace {

constexpr const char* kEnableDefinition = "shared::audio.param-enable-viz";
constexpr const char* kGroupNames = "plugin.modMain.io-params.group-names";
constexpr const char* kInstanceName = "plugin.modMain.instance-name";
constexpr const char* kTrackName = "plugin.modMain.host-track-name";

} // namespace

/// What the export names are made of has changed.
class CAudioVizCollector::CNameParamListener : public COwnedUpdateListener<CAudioVizCollector>,
                                               public CLumMemAllocator {
public:
    using COwnedUpdateListener::COwnedUpdateListener;
    ~CNameParamListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord*) override { owner->deferExportNames(); }
};

CAudioVizCollector::CAudioVizCollector() {
    slotOfGroup.fill(-1);
}
CAudioVizCollector::~CAudioVizCollector() = default;

void CAudioVizCollector::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioVizCollector::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(findObjectChecked(enableDefinition, kEnableDefinition));
    LUM_TRY(findObjectByAttr(env, "env"));
    LUM_TRY(findObjectByAttr(collector, "param-collector"));
    if (!getAttrString("export-slot-param").empty()) LUM_TRY(initExport());
    return nullptr;
}

CErrorResult CAudioVizCollector::initExport() {
    slotManager = CAudioVizSlotManager::attach(instanceId);
    slotParam = &collector->getParam(getAttrString("export-slot-param"));
    const char* const options[] = {"export-opt-param1", "export-opt-param2"};
    for (size_t i = 0; i < optionParams.size(); i++)
        if (const CString name = getAttrString(options[i]); !name.empty())
            optionParams[i] = &collector->getParam(name);
    groupNames = &collector->getParam(kGroupNames);
    instanceName = &collector->getParam(kInstanceName);
    trackName = &collector->getParam(kTrackName);
    for (CAudioParam* param :
         {slotParam, optionParams[0], optionParams[1], groupNames, instanceName, trackName}) {
        if (!param) continue;
        paramListeners.push_back(std::make_unique<CNameParamListener>(*this));
        paramListeners.back()->attach(collector, param);
    }
    slotNode.dirty = &areSlotsDue;
    slotNode.groupMask = &slotGroups;
    CAudioParamCollector::addAudioListener(*slotParam, slotNode);
    buildExportNames();
    return nullptr;
}

void CAudioVizCollector::prepareDestroy() {
    paramListeners.clear();
    CAudioParamCollector::removeAudioListener(slotNode);
    if (collector) collector->cancelDeferredCalls(*this);
    if (slotManager) {
        for (int group = 0; group < kVizGroups; group++)
            if (ownsSlotOfGroup[static_cast<size_t>(group)])
                releaseSlot(slotOfGroup[static_cast<size_t>(group)]);
        CAudioVizSlotManager::detach(slotManager, instanceId);
        slotManager = nullptr;
    }
    CObject::prepareDestroy();
}

// Listening

CVizItem* CAudioVizCollector::findItem(const CString& source) {
    platform::CSpinGuard hold(itemsLock);
    const auto found = items.find(source);
    return found == items.end() ? nullptr : found->second.get();
}

CVizItem& CAudioVizCollector::makeItem(const CString& source) {
    if (CVizItem* present = findItem(source)) return *present;
    auto item = std::make_unique<CVizItem>();
    item->name = source;
    item->enable = &collector->getParam(source + "-enable");
    platform::CSpinGuard hold(itemsLock);
    return *items.emplace(source, std::move(item)).first->second;
}

void CAudioVizCollector::changeListeners(int slot, const CString& source, int delta) {
    if (slot == kOwnVizData) {
        CVizItem& item = makeItem(source);
        platform::CSpinGuard hold(env->lock);
        ownChanges.push_back({&item, delta});
        return;
    }
    if (!slotManager || slot < 0 || slot >= kVizSlotCount) return;
    CVizSlot& target = slotManager->slot(slot);
    {
        platform::CSpinGuard hold(target.listenerLock);
        target.pendingListeners.push_back({source, delta});
    }
    platform::CSpinGuard hold(pendingLock);
    pendingSlotChanges.push_back({source, {slot, delta}});
}

void CAudioVizCollector::countListeners(CVizItem& item, int delta, int group) {
    const int before = item.listeners;
    item.listeners += delta;
    int& part = group < 0 ? item.ownListeners : item.groupListeners[static_cast<size_t>(group)];
    part += delta;
    if (!controlWrites || (before > 0) == (item.listeners > 0)) return;
    // The binding waits for a guard as well, so it is left to the control thread with the value.
    controlWrites->post(*item.enable, 0, item.listeners > 0 ? 1.0 : 0.0,
                        &enableDefinition->getInfo());
}

// The audio thread

void CAudioVizCollector::updateBlock() {
    if (slotManager) {
        const int32_t version = slotManager->getVersion();
        if (std::exchange(areSlotsDue, 0) || version != versionSeenByBlocks) {
            versionSeenByBlocks = version;
            bindSlots();
        }
        for (int group = 0; group < kVizGroups; group++)
            if (ownsSlotOfGroup[static_cast<size_t>(group)])
                updateOwnedSlot(slotOfGroup[static_cast<size_t>(group)], group);
    }
    applyOwnChanges();
}

void CAudioVizCollector::applyOwnChanges() {
    CVector<std::pair<CVizItem*, int>, 4> changes;
    {
        platform::CSpinGuard hold(env->lock);
        if (ownChanges.empty()) return;
        changes = std::move(ownChanges);
        ownChanges.clear();
    }
    for (const auto& [item, delta] : changes) countListeners(*item, delta, -1);
}

/// First all that is given up, then what is claimed: groups may change places.
void CAudioVizCollector::bindSlots() {
    const CAudioParamStorage& values = slotParam->getAudioValues();
    for (int group = 0; group < kVizGroups; group++) {
        const int wanted = roundToInt(values.read(group, 0)) - 1;
        leaveSlot(group, wanted >= 0 && wanted < kVizSlotCount ? wanted : -1);
    }
    for (int group = 0; group < kVizGroups; group++) claimSlot(group);
}

void CAudioVizCollector::leaveSlot(int group, int newSlot) {
    int& slot = slotOfGroup[static_cast<size_t>(group)];
    bool& isOwner = ownsSlotOfGroup[static_cast<size_t>(group)];
    if (slot != newSlot && isOwner) {
        moveCounts(slot, group, -1);
        releaseSlot(slot);
        isOwner = false;
    }
    slot = newSlot;
}

void CAudioVizCollector::claimSlot(int group) {
    const int slot = slotOfGroup[static_cast<size_t>(group)];
    bool& isOwner = ownsSlotOfGroup[static_cast<size_t>(group)];
    if (slot < 0 || isOwner) return;
    int32_t nobody = -1;
    isOwner = slotManager->slot(slot).owner.compare_exchange_strong(nobody, instanceId);
    if (isOwner) moveCounts(slot, group, 1);
}

/// Adds the listeners of a slot to the counts of a group, or takes them out.
void CAudioVizCollector::moveCounts(int slot, int group, int sign) {
    CVizSlot& target = slotManager->slot(slot);
    platform::CSpinGuard hold(target.dataLock);
    for (const auto& [source, count] : target.activeNames)
        countListeners(makeItem(source), sign * count, group);
}

/// Lets others have a slot. The exporter's entry follows the export names alone: they are built of
/// the newest parameters, and may give the slot to another group of this instance already.
void CAudioVizCollector::releaseSlot(int slot) {
    CVizSlot& target = slotManager->slot(slot);
    {
        platform::CSpinGuard hold(target.dataLock);
        target.queues.clear();
    }
    target.owner = -1;
    slotManager->raiseVersion(); // those who wait for the slot bind anew
}

void CAudioVizCollector::updateOwnedSlot(int slot, int group) {
    CVizSlot& target = slotManager->slot(slot);
    CVector<std::pair<CString, int>, 4> changes;
    {
        platform::CSpinGuard hold(target.listenerLock);
        changes = std::move(target.pendingListeners);
        target.pendingListeners.clear();
    }
    platform::CSpinGuard hold(target.dataLock);
    for (auto& [source, queue] : target.queues)
        while (!queue.empty() && queue[0].time < env->time - kVizExpiry) queue.erase(0);
    for (const auto& [source, delta] : changes) {
        int& count = target.activeNames[source];
        count += delta;
        if (count == 0) target.activeNames.erase(source);
        CVizItem& item = makeItem(source);
        countListeners(item, delta, group);
        if (item.listeners == 0) target.queues.erase(source);
    }
}

void CAudioVizCollector::reset() {
    CMap<CString, CRecords> dropped;
    {
        platform::CSpinGuard hold(pendingLock);
        std::swap(dropped, readyRecords);
    }
    for (size_t group = 0; group < kVizGroups; group++) {
        if (!ownsSlotOfGroup[group]) continue;
        CVizSlot& target = slotManager->slot(slotOfGroup[group]);
        platform::CSpinGuard hold(target.dataLock);
        target.queues.clear();
    }
}

bool CAudioVizCollector::isWanted(const CString& source, int group) {
    const CVizItem* item = findItem(source);
    return item && (item->ownListeners > 0 || item->groupListeners[static_cast<size_t>(group)] > 0);
}

void CAudioVizCollector::post(const CString& source, int group, const CVizDataRef& record) {
    const CVizItem* item = findItem(source);
    if (!item) return; // nobody has ever asked for it
    if (item->ownListeners > 0) {
        platform::CSpinGuard hold(pendingLock);
        readyRecords[source].push_back(record);
    }
    if (!ownsSlotOfGroup[static_cast<size_t>(group)]) return;
    CVizSlot& target = slotManager->slot(slotOfGroup[static_cast<size_t>(group)]);
    platform::CSpinGuard hold(target.dataLock);
    const auto active = target.activeNames.find(source);
    if (active == target.activeNames.end()) return;
    CVizQueueNode node;
    node.record = record;
    node.time = record->time;
    node.expectedReaders = active->second;
    CVizSlot::CQueue& queue = target.queues[source];
    size_t place = queue.size();
    while (place > 0 && queue[place - 1].time > node.time) place--;
    queue.insert(place, std::move(node));
}

// Messages

CErrorResult CAudioVizCollector::saveVizData(COutputStream& stream, double displayRate) {
    double blockEndTime = 0.0;
    {
        platform::CSpinGuard hold(env->lock);
        blockEndTime = env->blockEndTime;
        env->displayRate = displayRate;
    }
    CMap<CString, CRecords> taken;
    {
        platform::CSpinGuard hold(pendingLock);
        std::swap(taken, readyRecords);
    }
    LUM_TRY(stream.writeValue(blockEndTime));
    for (const auto& [source, records] : taken) {
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(records.size())));
        LUM_TRY(stream.writeString(source));
        for (const CVizDataRef& record : records) LUM_TRY(saveVizRecord(stream, *record.get()));
    }
    const int32_t version = slotManager ? slotManager->getVersion() : versionSeenByMessages;
    if (slotManager) LUM_TRY(saveSlotData(stream));
    LUM_TRY(stream.writeValue(uint32_t{0}));
    if (std::exchange(versionSeenByMessages, version) != version) notify(nullptr);
    return nullptr;
}

CErrorResult CAudioVizCollector::saveSlotData(COutputStream& stream) {
    CVector<std::pair<CString, std::pair<int, int>>, 2> changes;
    {
        platform::CSpinGuard hold(pendingLock);
        changes = std::move(pendingSlotChanges);
        pendingSlotChanges.clear();
    }
    for (const auto& [source, change] : changes) {
        const auto [slot, delta] = change;
        CMap<int, int>& counts = activeNames[source];
        if ((counts[slot] += delta) < 1) counts.erase(slot);
        if (counts.empty()) activeNames.erase(source);
    }
    for (const auto& [source, counts] : activeNames)
        for (const auto& [slot, count] : counts) {
            CRecords records;
            takeFromSlot(slotManager->slot(slot), source, records);
            for (const CVizDataRef& record : records) {
                LUM_TRY(stream.writeValue(uint32_t{1}));
                LUM_TRY(stream.writeString(source));
                LUM_TRY(saveVizRecord(stream, *record.get()));
            }
        }
    return nullptr;
}

/// Takes the records that this instance has not had yet; one that all its readers have had goes.
void CAudioVizCollector::takeFromSlot(CVizSlot& slot, const CString& source, CRecords& out) {
    platform::CSpinGuard hold(slot.dataLock);
    const auto found = slot.queues.find(source);
    if (found == slot.queues.end()) return;
    CVizSlot::CQueue& queue = found->second;
    for (size_t i = 0; i < queue.size();) {
        CVizQueueNode& node = queue[i];
        bool isNew = true;
        for (const int32_t reader : node.readers) isNew = isNew && reader != instanceId;
        if (isNew) {
            out.push_back(node.record);
            node.readers.push_back(instanceId);
        }
        if (node.readers.ssize() >= node.expectedReaders)
            queue.erase(i);
        else
            i++;
    }
}

CErrorResult CAudioVizCollector::saveExportNames(COutputStream& stream) {
    if (slotManager)
        LUM_TRY(slotManager->saveExportNames(stream));
    else
        LUM_TRY(stream.writeValue(uint32_t{0}));
    return nullptr;
}

/// The names read several parameters, and a listener must not wait for another one's guard.
void CAudioVizCollector::deferExportNames() {
    if (!areNamesDue.exchange(true)) collector->deferCall(*this, 0, 0.0);
}

void CAudioVizCollector::onDeferredCall(int32_t, double) {
    areNamesDue = false;
    buildExportNames();
}

void CAudioVizCollector::buildExportNames() {
    CString base = instanceName->getString(0, 0);
    if (base.empty()) {
        base = trackName->getString(0, 0);
        base.replace(u'`', u'\'');
    }
    CMap<int, CString> names;
    for (int group = 0; group < kVizGroups; group++) {
        const int slot = roundToInt(slotParam->readValue(group, 0)) - 1;
        if (slot < 0 || slot >= kVizSlotCount) continue;
        CString text = CString::fromInt(slot + 1) + ": " + base + " (";
        text += groupNames->getString(0, group) + ")";
        for (size_t i = 0; i < optionParams.size(); i++) {
            const int option =
                optionParams[i] ? roundToInt(optionParams[i]->readValue(group, 0)) : 0;
            text += CString("`opt") + CString::fromInt(static_cast<int>(i) + 1) + "=";
            text += CString::fromInt(option);
        }
        names[slot] = std::move(text);
    }
    slotManager->setExportNames(instanceId, names);
}

} // namespace lum
