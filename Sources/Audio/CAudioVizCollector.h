#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioVizSlotManager.h"
#include "Core/CUpdateNotifier.h"

#include <array>

namespace lum {

class CAudioEnv;
class CAudioParamDef;
class CControlWriteQueue;

constexpr int kVizGroups = 8;
constexpr int kOwnVizData = -1; // the slot number that stands for the instance's own data

/// One visual source that has ever been asked for. Counts belong to the audio thread.
struct CVizItem : public CLumMemAllocator {
    CString name;
    CAudioParam* enable = nullptr; // the parameter "<name>-enable", bound with its first write
    int listeners = 0;             // in all
    int ownListeners = 0;          // of this instance's own data
    std::array<int, kVizGroups> groupListeners{};
};

/// `audio:viz-collector`: the channel that carries visual data from the audio side of an instance
/// to its clients and, by the export slots, to other instances. Processes post records on the audio
/// thread; clients listen and fetch on a message thread. Notifies when the export names have
/// changed.
class CAudioVizCollector : public CObject, public CUpdateNotifier, public CDeferredCallTarget {
public:
    CAudioVizCollector();
    ~CAudioVizCollector() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;
    /// Where the audio thread leaves its parameter writes. Set-up.
    void setControlWrites(CControlWriteQueue* queue) { controlWrites = queue; }

    // Clients; message thread.
    void addListener(int slot, const CString& source) { changeListeners(slot, source, 1); }
    void removeListener(int slot, const CString& source) { changeListeners(slot, source, -1); }
    /// Writes the body of a `viz-data` message. displayRate: of the client, frames a second.
    CErrorResult saveVizData(COutputStream& stream, double displayRate);
    /// Writes the body of an `export-slot-names` message.
    CErrorResult saveExportNames(COutputStream& stream);

    // The audio thread, once for each host block behind the parameter updates.
    void updateBlock() LUM_REALTIME;
    /// Drops what waits; when processing stops.
    void reset();
    /// Somebody wants this source: of the instance itself, or by a group's slot.
    bool isWanted(const CString& source, int group) LUM_REALTIME;
    /// Hands a record to whoever listens: the instance's own clients and the slot of the group.
    void post(const CString& source, int group, const CVizDataRef& record) LUM_REALTIME;

private:
    class CNameParamListener;
    using CRecords = CVector<CVizDataRef, 2>;

    CErrorResult initExport();
    CVizItem* findItem(const CString& source) LUM_REALTIME;
    CVizItem& makeItem(const CString& source) LUM_REALTIME;
    void changeListeners(int slot, const CString& source, int delta);
    void countListeners(CVizItem& item, int delta, int group) LUM_REALTIME;
    void applyOwnChanges() LUM_REALTIME;
    void bindSlots() LUM_REALTIME;
    void leaveSlot(int group, int newSlot) LUM_REALTIME;
    void claimSlot(int group) LUM_REALTIME;
    void moveCounts(int slot, int group, int sign) LUM_REALTIME;
    void releaseSlot(int slot);
    void updateOwnedSlot(int slot, int group) LUM_REALTIME;
    CErrorResult saveSlotData(COutputStream& stream);
    void takeFromSlot(CVizSlot& slot, const CString& source, CRecords& out);
    void deferExportNames();
    void onDeferredCall(int32_t argument, double value) override;
    void buildExportNames();

    CAudioEnv* env = nullptr;
    CAudioParamCollector* collector = nullptr;
    CAudioParamDef* enableDefinition = nullptr;
    CControlWriteQueue* controlWrites = nullptr;
    CAudioParam* slotParam = nullptr; // null: this product exports nothing
    std::array<CAudioParam*, 2> optionParams{};
    CAudioParam* groupNames = nullptr;
    CAudioParam* instanceName = nullptr;
    CAudioParam* trackName = nullptr;
    CVector<std::unique_ptr<CUpdateListener>, 0> paramListeners;

    platform::CSpinLock itemsLock;
    CMap<CString, std::unique_ptr<CVizItem>> items; // entries live as long as the collector

    CVector<std::pair<CVizItem*, int>, 4> ownChanges; // under the env lock

    platform::CSpinLock pendingLock;
    CMap<CString, CRecords> readyRecords; // own data, under pendingLock
    CVector<std::pair<CString, std::pair<int, int>>, 2> pendingSlotChanges; // source, (slot, delta)
    CMap<CString, CMap<int, int>> activeNames; // source, slot, count; message thread

    CAudioVizSlotManager* slotManager = nullptr;
    int32_t instanceId = 0;
    std::array<int, kVizGroups> slotOfGroup{};      // -1 for none
    std::array<bool, kVizGroups> ownsSlotOfGroup{}; // false: another instance has it
    int32_t versionSeenByMessages = -1;
    int32_t versionSeenByBlocks = -1;
    CAudioListenerNode slotNode;          // hears of slotParam when blocks can read the new values
    uint32_t slotGroups = 0;              // where the node leaves its groups; all are bound anew
    uint8_t areSlotsDue = 1;              // audio thread: the next block binds the slots
    std::atomic<bool> areNamesDue{false}; // a call is on its way
};

} // namespace lum
