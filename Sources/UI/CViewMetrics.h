#pragma once

#include "UI/CMetricProgram.h"

#include <memory>

namespace lum {

class CViewArea;

/// The network of formulas that lays out one window. Each metric of each view is a cell that holds
/// a plain value or a small program over other cells; a change evaluates what depends on it and
/// nothing else, each cell behind those that it reads. Interface thread only; render workers read
/// the rectangles handed to the views.
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
    double value(CCellId id) const { return valueAt(id).value; }
    /// Clears the cell's program, assigns and propagates.
    void setValue(CCellId id, double newValue);
    /// Gives the cell a program and evaluates it; nothing for an equal one.
    void setProgram(CCellId id, const CMetricProgram& program);
    /// A cell of the window that always has this value, for metrics that few views set.
    CCellId constantCell(double fixedValue);
    /// Index of a constant in the pool; one within 0.01 % of a present one shares its entry.
    int constantIndex(double newValue);
    /// Index of exactly this number of operands, however many others stand near it.
    int countIndex(int count) { return exactIndex(count); }
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
    /// What a change looks at on its way; apart from the rest, so that many fit into the cache.
    struct CCellValue {
        double value = 0.0;
        uint32_t nextWaiting = 0; // in the list of its rank
        uint16_t rank = 0;        // above those of the cells that its program read when it last ran
        uint8_t level = 0;        // of the change that it waits for
        bool isWaiting : 1 = false; // for its turn in a propagation
        bool isPending : 1 = false; // its new program is still to be evaluated
    };
    struct CMetricCell {
        CViewArea* owner = nullptr;
        CVector<int32_t, 12> program;
        CVector<CCellId, 3> dependents; // of a long list some may have ceased to be
        uint32_t leftDependents = 0;    // about how many
        uint32_t nextFree = 0;
        bool isStale = false;    // its program reads a cell that was freed
        bool isConstant = false; // nothing needs to follow it
    };
    static constexpr uint32_t kBlockBits = 11;
    static constexpr uint32_t kBlockSize = 1U << kBlockBits; // cells
    static constexpr uint32_t kSlotMask = kBlockSize - 1;
    static constexpr uint32_t kNoCell = 0xffffffffU;
    static constexpr int kRanks = 1024; // what lies deeper shares the last one
    struct CBlock : public CLumMemAllocator {
        CCellValue values[kBlockSize];
        CMetricCell cells[kBlockSize];
    };

    CMetricCell& at(CCellId id) { return blocks[id >> kBlockBits]->cells[id & kSlotMask]; }
    CCellValue& valueAt(CCellId id) { return blocks[id >> kBlockBits]->values[id & kSlotMask]; }
    const CCellValue& valueAt(CCellId id) const {
        return blocks[id >> kBlockBits]->values[id & kSlotMask];
    }
    void addBlock();
    int exactIndex(double newValue);
    void joinOperands(CCellId id);
    void leaveOperands(CCellId id);
    void dropLeftDependents(CCellId id);
    double evaluate(CCellId id);
    bool store(CCellId id, double newValue, int level);
    void wait(CCellId id, int level);
    CCellId nextWaiting();
    void propagate();
    void endPropagation();
    void settle(CCellId id);
    void settlePending();

    void noteDirty(CViewArea& area);
    void noteChanged(CViewArea& area);
    void forget(CViewArea& area);
    void rebuildDirty();
    void handOverChanges();

    CVector<std::unique_ptr<CBlock>, 4> blocks;
    uint32_t firstFree = kNoCell;
    size_t cellCount = 0;
    CMap<double, CCellId> constantCells;
    CVector<double, 64> constants;
    CMap<double, int> constantPlaces;
    CVector<double, 0> stack;
    uint32_t waiting[kRanks];    // first waiting cell of each rank
    int lowestWaiting = kRanks;  // no rank below it has one
    CVector<CCellId, 0> pending; // cells whose evaluation waits for the end of the rebuild
    bool isDeferring = false;
    uint64_t evaluationCount = 0;
    CVector<CViewArea*, 0> dirtyAreas;
    CVector<CViewArea*, 0> changedAreas;
    CCellId scale = kNoCell;
    CCellId pixelSize = kNoCell;
};

} // namespace lum
