#include "Audio/CAudioParamUndo.h"

#include "Audio/CAudioParamCollector.h"

#include <algorithm>

namespace lum {
namespace {

constexpr int kLeastHistory = 4; // records

} // namespace

void CAudioParamUndo::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamUndo::init() {
    LUM_TRY(CObject::init());
    countMax = std::max(kLeastHistory, getAttrInt("undo-count-max"));
    LUM_TRY(findObjectByAttr(collector, "param-collector"));
    return nullptr;
}

void CAudioParamUndo::add(std::unique_ptr<CAudioParamUndoRecord> record) {
    platform::CLockGuard hold(undoLock);
    if (record->empty() || (record->epoch >= 0 && record->epoch != epoch)) return;
    if (!history) history = std::make_unique<CAudioParamHistory>();
    if (mergeIntoLast(*record)) return;
    while (history->records.ssize() > history->position) history->records.pop_back();
    if (history->records.ssize() >= countMax)
        history->records.erase(0);
    else
        history->position++;
    history->records.push_back(std::move(record));
    onHistoryChanged();
}

bool CAudioParamUndo::mergeIntoLast(CAudioParamUndoRecord& record) {
    if (history->position == 0) return false;
    CAudioParamUndoRecord& last = *history->records[history->position - 1];
    if (!last.isMergeable || !record.isMergeable || last.mergeKey != record.mergeKey) return false;
    if (!last.describesSameSet(record)) return false;
    last.takeAfterStates(record);
    return true;
}

void CAudioParamUndo::getHistoryNames(CVector<CString>& names, int& position) {
    platform::CLockGuard hold(undoLock);
    names.clear();
    names.push_back("Undo history start");
    position = 0;
    if (!history) return;
    for (const auto& record : history->records) names.push_back(record->name);
    position = history->position;
}

void CAudioParamUndo::setPosition(int position, bool isNotifying) {
    const CDeferredCallHold held(*collector); // the host may be in a call that takes the undo lock
    platform::CLockGuard hold(undoLock);
    if (!history || position < 0 || position > history->records.ssize()) return;
    if (position == history->position) return;
    for (int i = history->position; i < position; i++) replay(*history->records[i], false);
    for (int i = history->position - 1; i >= position; i--) replay(*history->records[i], true);
    history->position = position;
    if (isNotifying) onHistoryChanged();
}

void CAudioParamUndo::replay(const CAudioParamUndoRecord& record, bool isUndo) {
    CAudioParamBatch batch(*collector);
    CChangeContext context;
    context.batch = &batch;
    for (const auto& [paramName, snapshots] : record.entries) {
        CAudioParam& param = collector->getParam(paramName);
        for (const auto& [group, snapshot] : snapshots)
            param.applyChange(isUndo ? snapshot.before : snapshot.after, context);
    }
}

void CAudioParamUndo::clear(bool isNotifying) {
    platform::CLockGuard hold(undoLock);
    epoch++;
    history.reset();
    if (isNotifying) onHistoryChanged();
}

void CAudioParamUndo::exchangeHistory(std::unique_ptr<CAudioParamHistory>& out,
                                      std::unique_ptr<CAudioParamHistory> in) {
    platform::CLockGuard hold(undoLock);
    epoch++;
    std::unique_ptr<CAudioParamHistory> old = std::move(history);
    history = std::move(in);
    out = std::move(old);
    onHistoryChanged();
}

std::unique_ptr<CAudioParamHistory> CAudioParamUndo::copyHistory() {
    platform::CLockGuard hold(undoLock);
    return history ? std::make_unique<CAudioParamHistory>(*history) : nullptr;
}

CAudioParamHistory::CAudioParamHistory(const CAudioParamHistory& other) : position(other.position) {
    for (const auto& record : other.records)
        records.push_back(std::make_unique<CAudioParamUndoRecord>(*record));
}

CAudioParamUndoRecord::CAudioParamUndoRecord(const CAudioParamUndoRecord& other)
    : name(other.name), isMergeable(other.isMergeable), mergeKey(other.mergeKey) {
    for (const auto& [paramName, snapshots] : other.entries)
        for (const auto& [group, snapshot] : snapshots) {
            CUndoGroupSnapshot& copy = entries[paramName][group];
            copy.before = snapshot.before.clone();
            copy.after = snapshot.after.clone();
        }
}

void CAudioParamUndoRecord::recordBefore(const CString& paramName, int group,
                                         const CAudioParamStorage& storage, bool forceEmpty) {
    CSnapshots& snapshots = entries[paramName];
    if (snapshots.contains(group)) return;
    CAudioParamChange before = CAudioParamChange::ofGroup(storage, group, nullptr);
    if (forceEmpty) {
        before.elementCount = 0;
        before.values.clear();
    }
    snapshots[group].before = std::move(before);
}

void CAudioParamUndoRecord::recordAfter(const CString& paramName, int group,
                                        const CAudioParamStorage& storage) {
    const auto entry = entries.find(paramName);
    if (entry == entries.end()) return;
    const auto found = entry->second.find(group);
    if (found != entry->second.end())
        found->second.after = CAudioParamChange::ofGroup(storage, group, nullptr);
}

bool CAudioParamUndoRecord::describesSameSet(const CAudioParamUndoRecord& later) const {
    const auto isSameSnapshot = [](const auto& a, const auto& b) {
        return a.first == b.first && a.second.after.elementCount == b.second.after.elementCount &&
               a.second.after.format == b.second.after.format;
    };
    const auto isSameEntry = [&](const auto& a, const auto& b) {
        return a.first == b.first && std::equal(a.second.begin(), a.second.end(), b.second.begin(),
                                                b.second.end(), isSameSnapshot);
    };
    return std::equal(entries.begin(), entries.end(), later.entries.begin(), later.entries.end(),
                      isSameEntry);
}

void CAudioParamUndoRecord::takeAfterStates(CAudioParamUndoRecord& later) {
    for (auto& [paramName, snapshots] : later.entries)
        for (auto& [group, snapshot] : snapshots)
            entries[paramName][group].after = std::move(snapshot.after);
}

} // namespace lum
