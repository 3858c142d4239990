#include "UI/CViewMetrics.h"

#include "UI/CViewArea.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// Cells, their programs, and the areas that a change reaches.

namespace lum {

namespace {

constexpr double kSameConstant = 0.0001;
constexpr size_t kLongList = 64;      // dependents; of a longer list those that leave stay a while
constexpr int kMostLayoutRounds = 16; // of views that change metrics in answer to their rectangle

using CProgramItems = CVector<int32_t, 12>;

bool isSameProgram(const CProgramItems& items, const CMetricProgram& program) {
    return items.size() == program.size() &&
           std::memcmp(items.data(), program.data(), items.size() * sizeof(int32_t)) == 0;
}

/// Whether the programs differ in their constants alone.
bool readsTheSame(const CProgramItems& items, const CMetricProgram& program) {
    if (items.size() != program.size()) return false;
    for (size_t i = 0; i < items.size(); i++) {
        if (items[i] != program.data()[i]) return false;
        const auto code = static_cast<MetricOp>(items[i]);
        if (code == MetricOp::Constant) i++;
        if (code == MetricOp::Cell && (++i, items[i] != program.data()[i])) return false;
    }
    return true;
}

} // namespace

CViewMetrics::CViewMetrics() {
    std::fill(std::begin(waiting), std::end(waiting), kNoCell);
    scale = newCell(nullptr);
    pixelSize = newCell(nullptr);
    valueAt(scale).value = 1.0;
    valueAt(pixelSize).value = 1.0;
}

CViewMetrics::~CViewMetrics() = default;

// ---- Cells

void CViewMetrics::addBlock() {
    const auto first = static_cast<uint32_t>(blocks.size()) << kBlockBits;
    blocks.push_back(std::make_unique<CBlock>());
    for (uint32_t slot = kBlockSize; slot-- > 0;) {
        at(first + slot).nextFree = firstFree;
        firstFree = first + slot;
    }
}

CCellId CViewMetrics::newCell(CViewArea* owner) {
    if (firstFree == kNoCell) addBlock();
    const CCellId id = firstFree;
    CMetricCell& cell = at(id);
    firstFree = cell.nextFree;
    cell.owner = owner;
    valueAt(id).value = 0.0;
    valueAt(id).rank = 0;
    cellCount++;
    return id;
}

CCellId CViewMetrics::constantCell(double fixedValue) {
    const auto [place, isNew] = constantCells.try_emplace(fixedValue, kNoCell);
    if (!isNew) return place->second;
    const CCellId id = place->second = newCell(nullptr);
    valueAt(id).value = fixedValue;
    at(id).isConstant = true;
    return id;
}

// A cell that waits for its turn keeps its place in the line; without a program it is passed over.
void CViewMetrics::deleteCell(CCellId id) {
    leaveOperands(id);
    CMetricCell& cell = at(id);
    // The id may come back for another cell, so an equal program is no longer the same one.
    for (const CCellId dependent : cell.dependents) at(dependent).isStale = true;
    cell.program.clear();
    cell.dependents.clear();
    cell.leftDependents = 0;
    cell.owner = nullptr;
    valueAt(id).isPending = false;
    cell.isStale = false;
    cell.nextFree = firstFree;
    firstFree = id;
    cellCount--;
}

void CViewMetrics::setValue(CCellId id, double newValue) {
    CMetricCell& cell = at(id);
    if (!cell.program.empty()) {
        leaveOperands(id);
        cell.program.clear();
    }
    valueAt(id).isPending = false;
    cell.isStale = false;
    store(id, newValue, 0);
    if (!isDeferring) propagate();
}

void CViewMetrics::setProgram(CCellId id, const CMetricProgram& program) {
    CMetricCell& cell = at(id);
    if (!cell.isStale && isSameProgram(cell.program, program)) return;
    // A size that moves in time changes a number alone.
    const bool isLinked = !cell.isStale && readsTheSame(cell.program, program);
    if (!isLinked) leaveOperands(id);
    cell.program.clear();
    cell.program.reserve(program.size());
    for (size_t i = 0; i < program.size(); i++) cell.program.push_back(program.data()[i]);
    cell.isStale = false;
    if (!isLinked) joinOperands(id);
    if (isDeferring) {
        CCellValue& place = valueAt(id);
        if (!place.isPending) pending.push_back(id);
        place.isPending = true;
        return;
    }
    store(id, evaluate(id), 0);
    propagate();
}

// A cell that the program reads twice has this one as its last dependent when it comes again.
void CViewMetrics::joinOperands(CCellId id) {
    const auto& program = at(id).program;
    forEachOperand(program.data(), program.size(), [this, id](CCellId operand) {
        CMetricCell& cell = at(operand);
        auto& dependents = cell.dependents;
        if (!cell.isConstant && (dependents.empty() || dependents.back() != id))
            dependents.push_back(id);
    });
}

// Trees end backward, so the search starts at the end. Where it could take long, as in the scale's
// list, nothing is sought: a dependent that is none is evaluated for nothing, and now and then the
// list is put in order.
void CViewMetrics::leaveOperands(CCellId id) {
    const auto& program = at(id).program;
    forEachOperand(program.data(), program.size(), [this, id](CCellId operand) {
        CMetricCell& cell = at(operand);
        auto& dependents = cell.dependents;
        if (dependents.size() > kLongList) {
            if (++cell.leftDependents * 2 > dependents.size()) dropLeftDependents(operand);
            return;
        }
        size_t place = dependents.size();
        while (place > 0 && dependents[place - 1] != id) place--;
        if (place > 0) dependents.erase(place - 1);
    });
}

void CViewMetrics::dropLeftDependents(CCellId id) {
    auto& dependents = at(id).dependents;
    std::sort(dependents.begin(), dependents.end());
    size_t kept = 0;
    for (const CCellId dependent : dependents) {
        if (kept > 0 && dependents[kept - 1] == dependent) continue;
        bool isReading = false;
        const auto& program = at(dependent).program;
        forEachOperand(program.data(), program.size(),
                       [&](CCellId operand) { isReading = isReading || operand == id; });
        if (isReading) dependents[kept++] = dependent;
    }
    dependents.resize(kept);
    at(id).leftDependents = 0;
}

int CViewMetrics::constantIndex(double newValue) {
    const auto isNear = [newValue](double present) {
        return std::fabs(newValue - present) <=
               (std::fabs(newValue) + std::fabs(present)) * kSameConstant;
    };
    const auto above = constantPlaces.lower_bound(newValue);
    if (above != constantPlaces.end() && isNear(above->first)) return above->second;
    if (above != constantPlaces.begin()) {
        const auto below = std::prev(above);
        if (isNear(below->first)) return below->second;
    }
    return exactIndex(newValue);
}

int CViewMetrics::exactIndex(double newValue) {
    const auto [place, isNew] = constantPlaces.try_emplace(newValue, constants.ssize());
    if (isNew) constants.push_back(newValue);
    return place->second;
}

// ---- Areas

void CViewMetrics::noteDirty(CViewArea& area) {
    if (!std::exchange(area.isInDirtyList, true)) dirtyAreas.push_back(&area);
}

void CViewMetrics::noteChanged(CViewArea& area) {
    if (!std::exchange(area.isInChangedList, true)) changedAreas.push_back(&area);
}

void CViewMetrics::forget(CViewArea& area) {
    const auto drop = [&area](CVector<CViewArea*, 0>& list) {
        size_t place = list.size();
        while (place > 0 && list[place - 1] != &area) place--;
        if (place > 0) list.erase(place - 1);
    };
    if (area.isInDirtyList) drop(dirtyAreas);
    if (area.isInChangedList) drop(changedAreas);
}

void CViewMetrics::updateAreas() {
    for (int round = 0; round < kMostLayoutRounds && needsUpdate(); round++) {
        rebuildDirty();
        handOverChanges();
    }
}

void CViewMetrics::rebuildDirty() {
    isDeferring = true;
    while (!dirtyAreas.empty()) {
        CViewArea* area = dirtyAreas.back();
        dirtyAreas.pop_back();
        area->isInDirtyList = false;
        area->rebuild();
    }
    settlePending();
}

// A handler may change metrics, which waits for the next round, and may end views.
void CViewMetrics::handOverChanges() {
    std::stable_sort(
        changedAreas.begin(), changedAreas.end(),
        [](const CViewArea* a, const CViewArea* b) { return a->getLevel() > b->getLevel(); });
    size_t left = changedAreas.size();
    while (left > 0 && !changedAreas.empty()) {
        // What came in meanwhile stands behind those of this round.
        left = std::min(left, changedAreas.size());
        CViewArea* area = changedAreas[left - 1];
        changedAreas.erase(left - 1);
        left--;
        area->isInChangedList = false;
        area->handOver();
    }
}

} // namespace lum
