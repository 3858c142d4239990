#include "UI/CViewMetrics.h"

#include "Core/CLog.h"
#include "UI/CViewArea.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace lum {

namespace {

constexpr int kDeepestPropagation = 200; // levels; a circle ends here
constexpr double kSameValue = std::numeric_limits<double>::epsilon();
constexpr double kSameConstant = 0.0001;
constexpr double kMaxOfNone = -1e20;
constexpr int kMostLayoutRounds = 16; // of views that change metrics in answer to their rectangle

bool isSame(double a, double b, double tolerance) {
    return std::fabs(a - b) <= (std::fabs(a) + std::fabs(b)) * tolerance;
}

/// Calls `action` with each cell that a program reads.
template <class Action>
void forEachOperand(const CVector<int32_t, 12>& program, Action action) {
    for (size_t i = 0; i < program.size(); i++) {
        const auto code = static_cast<MetricOp>(program[i]);
        if (code != MetricOp::Constant && code != MetricOp::Cell) continue;
        i++;
        if (code == MetricOp::Cell) action(static_cast<CCellId>(program[i]));
    }
}

} // namespace

CViewMetrics::CViewMetrics() : scale(newCell(nullptr)), pixelSize(newCell(nullptr)) {
    at(scale).value = 1.0;
    at(pixelSize).value = 1.0;
}

CViewMetrics::~CViewMetrics() = default;

// ---- Cells

void CViewMetrics::addBlock() {
    const auto first = static_cast<uint32_t>(blocks.size()) << kBlockBits;
    blocks.push_back(CBlock(new CMetricCell[kBlockSize]));
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
    cell.value = 0.0;
    cellCount++;
    return id;
}

void CViewMetrics::deleteCell(CCellId id) {
    leaveOperands(id);
    CMetricCell& cell = at(id);
    // The id may come back for another cell, so an equal program is no longer the same one.
    for (const CCellId dependent : cell.dependents) at(dependent).isStale = true;
    cell.program.clear();
    cell.dependents.clear();
    cell.owner = nullptr;
    cell.isPending = false;
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
    cell.isPending = false;
    cell.isStale = false;
    assign(id, newValue, 0);
}

void CViewMetrics::setProgram(CCellId id, const CMetricProgram& program) {
    CMetricCell& cell = at(id);
    if (!cell.isStale && isSameProgram(cell, program)) return;
    leaveOperands(id);
    cell.program.clear();
    cell.program.reserve(program.size());
    for (size_t i = 0; i < program.size(); i++) cell.program.push_back(program.data()[i]);
    cell.isStale = false;
    joinOperands(id);
    if (isDeferring) {
        if (!std::exchange(cell.isPending, true)) pending.push_back(id);
        return;
    }
    assign(id, evaluate(cell), 0);
}

bool CViewMetrics::isSameProgram(const CMetricCell& cell, const CMetricProgram& program) const {
    return cell.program.size() == program.size() &&
           std::memcmp(cell.program.data(), program.data(), program.size() * sizeof(int32_t)) == 0;
}

// A cell that the program reads twice has this one as its last dependent when it comes again.
void CViewMetrics::joinOperands(CCellId id) {
    forEachOperand(at(id).program, [this, id](CCellId operand) {
        auto& dependents = at(operand).dependents;
        if (dependents.empty() || dependents.back() != id) dependents.push_back(id);
    });
}

// Trees end backward, so the search starts at the end.
void CViewMetrics::leaveOperands(CCellId id) {
    forEachOperand(at(id).program, [this, id](CCellId operand) {
        auto& dependents = at(operand).dependents;
        size_t place = dependents.size();
        while (place > 0 && dependents[place - 1] != id) place--;
        if (place > 0) dependents.erase(place - 1);
    });
}

int CViewMetrics::constantIndex(double newValue) {
    const auto isNear = [newValue](double present) {
        return isSame(newValue, present, kSameConstant);
    };
    const auto above = constantPlaces.lower_bound(newValue);
    if (above != constantPlaces.end() && isNear(above->first)) return above->second;
    if (above != constantPlaces.begin()) {
        const auto below = std::prev(above);
        if (isNear(below->first)) return below->second;
    }
    const int index = constants.ssize();
    constants.push_back(newValue);
    constantPlaces.emplace(newValue, index);
    return index;
}

// ---- Evaluation

double CViewMetrics::evaluate(const CMetricCell& cell) {
    evaluationCount++;
    const auto& program = cell.program;
    if (stack.size() < program.size() + 1) stack.resize(program.size() + 1);
    double* top = stack.data(); // one behind the topmost value
    for (size_t i = 0; i < program.size(); i++) {
        switch (static_cast<MetricOp>(program[i])) {
        case MetricOp::Constant:
            *top++ = constants[program[++i]];
            break;
        case MetricOp::Cell:
            *top++ = at(static_cast<CCellId>(program[++i])).value;
            break;
        case MetricOp::Divide:
            top--, top[-1] /= top[0];
            break;
        case MetricOp::SafeDivide:
            top -= 2;
            top[-1] = top[0] == 0.0 ? top[1] : top[-1] / top[0];
            break;
        case MetricOp::Half:
            top[-1] *= 0.5;
            break;
        case MetricOp::Floor:
            top[-1] = std::floor(top[-1]);
            break;
        case MetricOp::Max:
            top--, top[-1] = std::max(top[-1], top[0]);
            break;
        case MetricOp::MaxOfN: {
            const auto count = static_cast<int>(std::lround(*--top));
            double largest = kMaxOfNone;
            for (int k = 0; k < count; k++) largest = std::max(largest, *--top);
            *top++ = largest;
            break;
        }
        case MetricOp::Min:
            top--, top[-1] = std::min(top[-1], top[0]);
            break;
        case MetricOp::Clamp:
            top -= 2;
            top[-1] = std::min(top[1], std::max(top[0], top[-1]));
            break;
        case MetricOp::Subtract:
            top--, top[-1] -= top[0];
            break;
        case MetricOp::Multiply:
            top--, top[-1] *= top[0];
            break;
        case MetricOp::Add:
            top--, top[-1] += top[0];
            break;
        case MetricOp::Round:
            top[-1] = std::round(top[-1]);
            break;
        }
    }
    return top == stack.data() ? 0.0 : top[-1];
}

// False: a circle, or a chain that is too long, has ended the propagation.
bool CViewMetrics::assign(CCellId id, double newValue, int depth) {
    CMetricCell& cell = at(id);
    if (isSame(cell.value, newValue, kSameValue)) return true;
    if (depth > kDeepestPropagation) {
        logFormat("Too many recursions (level %i)", depth);
        return false;
    }
    cell.value = newValue;
    if (cell.owner) noteChanged(*cell.owner);
    // Evaluating changes no program, so the list stays as it is. What waits for its own evaluation
    // gets it once all that it reads has settled.
    for (const CCellId dependent : cell.dependents) {
        const CMetricCell& reader = at(dependent);
        if (!reader.isPending && !assign(dependent, evaluate(reader), depth + 1)) return false;
    }
    return true;
}

// While areas are rebuilt new programs are only linked; afterwards each is evaluated once, behind
// the waiting cells that it reads. The mark is dropped first, so that a circle comes to its end.
void CViewMetrics::settle(CCellId id) {
    CMetricCell& cell = at(id);
    if (!std::exchange(cell.isPending, false)) return;
    forEachOperand(cell.program, [this](CCellId operand) {
        if (at(operand).isPending) settle(operand);
    });
    assign(id, evaluate(cell), 0);
}

void CViewMetrics::settlePending() {
    isDeferring = false;
    for (const CCellId id : pending) settle(id);
    pending.clear();
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
