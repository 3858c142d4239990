#pragma once

#include "Audio/CAudioParam.h"
#include "Audio/CParamUndoRecord.h"
#include "Core/CObject.h"

namespace lum {

class CAudioParamCollector;

/// The values of one group of a parameter before and after an edit. Whole groups are recorded, so
/// that undoing is always one truncating write.
struct CUndoGroupSnapshot : public CLumMemAllocator {
    CAudioParamChange before;
    CAudioParamChange after;
};

/// One step of the history: what it touched, by the parameter's full name.
class CAudioParamUndoRecord : public CParamUndoRecord, public CLumMemAllocator {
public:
    CAudioParamUndoRecord(CString recordName, bool mergeable, int32_t key)
        : name(std::move(recordName)), isMergeable(mergeable), mergeKey(key) {}
    CAudioParamUndoRecord(const CAudioParamUndoRecord& other);

    /// Keeps the group as it was before the first write of this record; later calls do nothing.
    void recordBefore(const CString& paramName, int group, const CAudioParamStorage& storage,
                      bool forceEmpty) override;
    /// Replaces what the group holds after the record.
    void recordAfter(const CString& paramName, int group,
                     const CAudioParamStorage& storage) override;
    bool empty() const { return entries.empty(); }
    /// Merging: takes over the after states of a later record over the same set.
    bool describesSameSet(const CAudioParamUndoRecord& later) const;
    void takeAfterStates(CAudioParamUndoRecord& later);

    CString name;
    bool isMergeable = false;
    int32_t mergeKey = -1;
    int epoch = -1; // the history's when the record was opened; -1: it fits any
    using CSnapshots = CMap<int32_t, CUndoGroupSnapshot>; // by group
    CMap<CString, CSnapshots> entries;                    // by the parameter's full name
    CMap<CAudioParam*, CSet<int32_t>> touchedKeys;        // (element << 8) | group, for host edits
};

/// A history with its position: records below it are done, those from it on are undone.
class CAudioParamHistory : public CLumMemAllocator {
public:
    CVector<std::unique_ptr<CAudioParamUndoRecord>> records;
    int position = 0;
    CAudioParamHistory() = default;
    CAudioParamHistory(const CAudioParamHistory& other);
};

/// The undo history of an instance's live program. Control threads; its lock stands outside the
/// parameters' guards and is held while they change and while the notification runs.
class CAudioParamUndo : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    /// Takes ownership: merges the record into the last one, or appends it and cuts the redo tail.
    /// A record of another epoch is dropped: undo never crosses a change of the program.
    void add(std::unique_ptr<CAudioParamUndoRecord> record);
    /// Names with "Undo history start" first, so that position is an index into them.
    void getHistoryNames(CVector<CString>& names, int& position);
    /// Undoes or redoes up to a position; one outside, or the present one, is not acted on.
    void setPosition(int position, bool isNotifying);
    void clear(bool isNotifying);
    /// Takes the history out into `out` and installs `in`, which is left empty.
    void exchangeHistory(std::unique_ptr<CAudioParamHistory>& out,
                         std::unique_ptr<CAudioParamHistory> in);
    std::unique_ptr<CAudioParamHistory> copyHistory();
    /// Counts the histories that have been installed.
    int getEpoch() const { return epoch.load(std::memory_order_acquire); }

    CAudioParamCollector* getCollector() const { return collector; }
    platform::CLock& getUndoLock() { return undoLock; }

protected:
    /// Called with the undo lock held.
    virtual void onHistoryChanged() {}
    CAudioParamCollector* collector = nullptr;

private:
    void replay(const CAudioParamUndoRecord& record, bool isUndo);
    bool mergeIntoLast(CAudioParamUndoRecord& record);

    platform::CLock undoLock;
    std::unique_ptr<CAudioParamHistory> history;
    std::atomic<int> epoch{0};
    int countMax = 4;
};

} // namespace lum
