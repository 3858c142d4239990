#pragma once

#include "Audio/CAudioVizData.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

namespace lum {

constexpr int kVizSlotCount = 48;
constexpr double kVizExpiry = 0.75; // seconds a record may wait in a slot

/// A record in a slot's queue.
struct CVizQueueNode {
    CVizDataRef record;
    double time = 0.0;
    CVector<int32_t, 4> readers; // instances that have taken it
    int expectedReaders = 0;
};

/// One of the export slots by which an instance shows its data in another. Lock order: the
/// manager's lock, then a slot's. All locks spin.
struct CVizSlot {
    using CQueue = CVector<CVizQueueNode, 0>; // in order of time
    struct CExporter {
        int32_t instanceId;
        CString name;
    };

    platform::CSpinLock dataLock;
    CMap<CString, CQueue> queues;
    CMap<CString, int> activeNames; // listeners by source name; the owner's audio thread

    platform::CSpinLock listenerLock;
    CVector<std::pair<CString, int>, 4> pendingListeners; // source name, count delta

    std::atomic<int32_t> owner{-1};  // instance id, -1 when free
    CVector<CExporter, 2> exporters; // under the manager's lock
};

/// The export slots of a process, numbered from 0; users see them from 1. Made by the first
/// collector that exports, gone with the last.
class CAudioVizSlotManager : public CLumMemAllocator {
public:
    /// Joins; `instanceId` receives a number from 1 up.
    static CAudioVizSlotManager* attach(int32_t& instanceId);
    static void detach(CAudioVizSlotManager* manager, int32_t instanceId);

    int32_t getVersion() const { return version.load(std::memory_order_acquire); }
    void raiseVersion() { version.fetch_add(1, std::memory_order_acq_rel); }
    CVizSlot& slot(int index) { return slots[index]; }

    /// Replaces an instance's export names, by slot. Raises the version when what a user sees has
    /// changed.
    void setExportNames(int32_t instanceId, const CMap<int, CString>& names);
    /// Writes the count and the slots that have a name: number and name of the first exporter.
    CErrorResult saveExportNames(COutputStream& stream);

private:
    platform::CSpinLock lock;
    std::atomic<int32_t> version{0};
    CVizSlot slots[kVizSlotCount];
    int32_t attachedEver = 0; // under the global lock
    int attachedNow = 0;
};

} // namespace lum
