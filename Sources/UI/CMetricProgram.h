#pragma once

#include "Core/CVector.h"

#include <cstdint>

namespace lum {

/// Id of a cell of a network: block and slot in one number.
using CCellId = uint32_t;

/// Instructions of a cell's program, evaluated on a stack. "a b" are in the order of pushing.
enum class MetricOp : int32_t {
    Constant = 0,   // index of the constant follows
    Divide = 1,     // a b: a / b
    SafeDivide = 2, // a b c: c if b is 0, else a / b
    Half = 3,
    Floor = 4,
    Max = 5,
    MaxOfN = 6, // pops a count, then takes the largest of as many; -1e20 of none
    Min = 7,
    Clamp = 8,    // x lo hi: min(hi, max(lo, x))
    Subtract = 9, // a b: a - b
    Multiply = 10,
    Add = 11,
    Round = 12, // half away from zero
    Cell = 13,  // id of the cell follows
};

/// Calls `action` with the id of each cell that a program's items read, in their order.
template <class Action>
void forEachOperand(const int32_t* items, size_t count, Action action) {
    for (size_t i = 0; i < count; i++) {
        const auto code = static_cast<MetricOp>(items[i]);
        if (code != MetricOp::Constant && code != MetricOp::Cell) continue;
        i++;
        if (code == MetricOp::Cell) action(static_cast<CCellId>(items[i]));
    }
}

/// A program under construction. Thread: the one that holds it.
class CMetricProgram {
public:
    CMetricProgram& cell(CCellId id) { return put(MetricOp::Cell, static_cast<int32_t>(id)); }
    CMetricProgram& constant(int index) { return put(MetricOp::Constant, index); }
    CMetricProgram& op(MetricOp code) {
        items.push_back(static_cast<int32_t>(code));
        return *this;
    }
    CMetricProgram& addCell(CCellId id) { return cell(id).op(MetricOp::Add); }
    CMetricProgram& subtractCell(CCellId id) { return cell(id).op(MetricOp::Subtract); }
    CMetricProgram& append(const CMetricProgram& other) {
        items.append(other.items);
        return *this;
    }
    void clear() { items.clear(); }
    bool empty() const { return items.empty(); }
    const int32_t* data() const { return items.data(); }
    size_t size() const { return items.size(); }

private:
    CMetricProgram& put(MetricOp code, int32_t operand) {
        items.push_back(static_cast<int32_t>(code));
        items.push_back(operand);
        return *this;
    }
    CVector<int32_t, 40> items;
};

} // namespace lum
