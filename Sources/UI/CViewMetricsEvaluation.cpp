#include "Core/CLog.h"
#include "UI/CViewArea.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Evaluation of programs, and the way of a change through the network.

namespace lum {

namespace {

constexpr int kDeepestPropagation = 200; // levels; a circle ends here; one more fits into a byte
constexpr double kSameValue = std::numeric_limits<double>::epsilon();
constexpr double kMaxOfNone = -1e20;
constexpr double kWholeFrom = 4503599627370496.0; // 2^52; from here on all numbers are whole

bool isSame(double a, double b) {
    return std::fabs(a - b) <= (std::fabs(a) + std::fabs(b)) * kSameValue;
}

/// To the nearest whole number, halves away from zero, without a call into the library.
double rounded(double value) {
    if (!(std::fabs(value) < kWholeFrom)) return value;
    const auto whole = static_cast<double>(static_cast<int64_t>(value));
    const double rest = value - whole;
    return rest >= 0.5 ? whole + 1.0 : rest <= -0.5 ? whole - 1.0 : whole;
}

} // namespace

double CViewMetrics::evaluate(CCellId id) {
    evaluationCount++;
    int highest = 0; // rank of what is read
    const auto& program = at(id).program;
    if (stack.size() < program.size() + 1) stack.resize(program.size() + 1);
    double* top = stack.data(); // one behind the topmost value
    for (size_t i = 0; i < program.size(); i++) {
        switch (static_cast<MetricOp>(program[i])) {
        case MetricOp::Constant:
            *top++ = constants[program[++i]];
            break;
        case MetricOp::Cell: {
            const CCellValue& operand = valueAt(static_cast<CCellId>(program[++i]));
            *top++ = operand.value;
            highest = std::max<int>(highest, operand.rank);
            break;
        }
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
            const double wanted = rounded(*--top);
            const ptrdiff_t present = top - stack.data(); // a false count stays on the stack
            double largest = kMaxOfNone;
            for (ptrdiff_t k = 0; k < present && static_cast<double>(k) < wanted; k++)
                largest = std::max(largest, *--top);
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
            top[-1] = rounded(top[-1]);
            break;
        }
    }
    valueAt(id).rank = static_cast<uint16_t>(std::min(highest + 1, kRanks - 1));
    return top == stack.data() ? 0.0 : top[-1];
}

// False: a circle, or a chain that is too long, has ended the propagation.
bool CViewMetrics::store(CCellId id, double newValue, int level) {
    CCellValue& place = valueAt(id);
    if (isSame(place.value, newValue)) return true;
    if (level > kDeepestPropagation) {
        logFormat("Too many recursions (level %i)", level);
        return false;
    }
    place.value = newValue;
    const CMetricCell& cell = at(id);
    if (cell.owner) noteChanged(*cell.owner);
    for (const CCellId dependent : cell.dependents) wait(dependent, level + 1);
    return true;
}

// What has a new program gets its evaluation when the rebuild ends.
void CViewMetrics::wait(CCellId id, int level) {
    CCellValue& place = valueAt(id);
    if (place.isPending) return;
    const auto given = static_cast<uint8_t>(level);
    place.level = place.isWaiting ? std::max(place.level, given) : given;
    if (place.isWaiting) return;
    place.isWaiting = true;
    place.nextWaiting = std::exchange(waiting[place.rank], id);
    lowestWaiting = std::min<int>(lowestWaiting, place.rank);
}

CCellId CViewMetrics::nextWaiting() {
    while (lowestWaiting < kRanks && waiting[lowestWaiting] == kNoCell) lowestWaiting++;
    if (lowestWaiting == kRanks) return kNoCell;
    const CCellId id = waiting[lowestWaiting];
    CCellValue& place = valueAt(id);
    waiting[lowestWaiting] = place.nextWaiting;
    place.isWaiting = false;
    return id;
}

// In the order of ranks each cell finds all that it reads settled, so that it is evaluated once,
// however many ways lead to it. A rank that a new program has made too low costs one evaluation
// more and is right afterwards.
void CViewMetrics::propagate() {
    for (CCellId id = nextWaiting(); id != kNoCell; id = nextWaiting()) {
        const CCellValue& place = valueAt(id);
        if (place.isPending || at(id).program.empty()) continue;
        if (!store(id, evaluate(id), place.level)) return endPropagation();
    }
}

void CViewMetrics::endPropagation() {
    while (nextWaiting() != kNoCell) {
    }
}

// While areas are rebuilt new programs are only linked; afterwards each is evaluated once, behind
// the pending cells that it reads. The mark is dropped first, so that a circle comes to its end.
void CViewMetrics::settle(CCellId id) {
    if (!valueAt(id).isPending) return;
    valueAt(id).isPending = false;
    const auto& program = at(id).program;
    forEachOperand(program.data(), program.size(), [this](CCellId operand) {
        if (valueAt(operand).isPending) settle(operand);
    });
    store(id, evaluate(id), 0);
}

void CViewMetrics::settlePending() {
    isDeferring = false;
    for (const CCellId id : pending) settle(id);
    pending.clear();
    propagate();
}

} // namespace lum
