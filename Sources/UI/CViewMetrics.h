#pragma once

#include "UI/CMetricProgram.h"

#include <memory>

namespace lum {

class CViewArea;

/// The network of formulas that lays out one window. Each metric of each view is a cell that holds
/// a plain value or a small program over other cells; a change evaluates what depends on it and
/// nothing else. Interface thread only; render workers read the rectangles handed to the views.
class CViewMetrics : public CLumMemAllocator {
public:
    CViewMetrics();
    ~CViewMetrics();
    CViewMetrics(const CViewMetrics&) = delete;
    CViewMetrics& operator=(const CViewMetrics&) = delete;

    /// Takes a free cell of value 0. A cell without an owner belongs to the window.
    CCellId newCell(CViewArea* owner);
    /// Frees a cell. Programs that read it keep a stale operand until they are set anew.
    void deleteCell(CCellId id);
    double value(CCellId id) const { return at(id).value; }
    /// Clears the cell's program, assigns and propagates.
    void setValue(CCellId id, double newValue);
    /// Gives the cell a program and evaluates it; nothing for an equal one.
    void setProgram(CCellId id, const CMetricProgram& program);
    /// Index of a constant in the pool; one within 0.01 % of a present one shares its entry.
    int constantIndex(double newValue);
    double constantAt(int index) const { return constants[index]; }

    /// Cells of the window: interface scale, and the grid step that root views snap to.
    CCellId scaleCell() const { return scale; }
    CCellId pixelSizeCell() const { return pixelSize; }

    /// Lays out: recompiles what became dirty, then hands changed rectangles to the views, parents
    /// first. Once per tick, after all timers.
    void updateAreas();
    bool needsUpdate() const { return !dirtyAreas.empty() || !changedAreas.empty(); }

    /// Programs evaluated since the start. For tests and measurements.
    uint64_t getEvaluationCount() const { return evaluationCount; }
    size_t getCellCount() const { return cellCount; }

private:
    friend class CViewArea;
    struct CMetricCell {
        double value = 0.0;
        CViewArea* owner = nullptr;
        CVector<int32_t, 12> program;
        CVector<CCellId, 3> dependents;
        uint32_t nextFree = 0;
        bool isPending = false; // its new program is still to be evaluated
        bool isStale = false;   // its program reads a cell that was freed
    };
    static constexpr uint32_t kBlockBits = 11;
    static constexpr uint32_t kBlockSize = 1U << kBlockBits; // cells
    static constexpr uint32_t kSlotMask = kBlockSize - 1;
    static constexpr uint32_t kNoCell = 0xffffffffU;
    using CBlock = std::unique_ptr<CMetricCell[]>;

    CMetricCell& at(CCellId id) { return blocks[id >> kBlockBits][id & kSlotMask]; }
    const CMetricCell& at(CCellId id) const { return blocks[id >> kBlockBits][id & kSlotMask]; }
    void addBlock();
    bool isSameProgram(const CMetricCell& cell, const CMetricProgram& program) const;
    void joinOperands(CCellId id);
    void leaveOperands(CCellId id);
    double evaluate(const CMetricCell& cell);
    bool assign(CCellId id, double newValue, int depth);
    void settle(CCellId id);
    void settlePending();

    void noteDirty(CViewArea& area);
    void noteChanged(CViewArea& area);
    void forget(CViewArea& area);
    void rebuildDirty();
    void handOverChanges();

    CVector<CBlock, 4> blocks;
    uint32_t firstFree = kNoCell;
    size_t cellCount = 0;
    CVector<double, 64> constants;
    CMap<double, int> constantPlaces;
    CVector<double, 0> stack;
    CVector<CCellId, 0> pending; // cells whose evaluation waits for the end of the rebuild
    bool isDeferring = false;
    uint64_t evaluationCount = 0;
    CVector<CViewArea*, 0> dirtyAreas;
    CVector<CViewArea*, 0> changedAreas;
    CCellId scale;
    CCellId pixelSize;
};

} // namespace lum
