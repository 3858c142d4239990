#pragma once

#include "Core/CCheckedObject.h"
#include "UI/CViewBorder.h"
#include "UI/CViewMetrics.h"

namespace lum {

/// Takes the rectangle that the layout gives: pixels of the window, in steps of 1/128.
class CViewAreaUpdateHandler : public virtual CCheckedObject {
public:
    virtual void onAreaUpdate(double x, double y, double width, double height) = 0;
};

/// The numbers of the placements are what messages and comparisons use.
enum class Placement {
    Inline = 1,
    Full,
    Top,
    Bottom,
    Left,
    Right,
    Overlay,
    WindowOverlay,
    Match,
    ScrollerH,
    ScrollerV,
    ScrollerP,
};

enum class MetricAlign { Near = -1, Center = 0, Far = 1 };

/// How a width or a height is found. Given by the placement when nothing is said.
enum class SizeMode { Unset, Balanced, Compact, CompactFull, FullSimple, Number, Percent };

struct CSizeRule {
    SizeMode mode = SizeMode::Unset;
    double amount = 0.0; // interface units, or a fraction of 1
    friend bool operator==(const CSizeRule&, const CSizeRule&) = default;
};

constexpr int kAxisX = 0;
constexpr int kAxisY = 1;

/// Metrics of an area; each exists for x and for y. "Near" is left or top.
enum class Metric {
    Position,
    Size,
    InnerNear,
    InnerFar,
    OuterNear,
    OuterFar,
    Compact, // of the content
    Min,
    Max,
    RegionPosition, // the rectangle that the parent gives
    RegionSize,
    Available, // what relative sizes refer to
    Offset,    // scroll position, a part of the content
    Ratio,     // visible part of a scrolled content
    Scroller,  // room of the scroller bar: its width for x, its height for y
    Count,
};

/// The cells of one view in the network of its window (of metrics that it does not set, the
/// window's), and how they are placed in the cells of its
/// parent. Owned by its view; parent and children are other areas of the same network, which ends
/// behind them. Setters only note what has to be compiled; plain values are written at once.
/// Interface thread.
class CViewArea : public CLumMemAllocator {
public:
    CViewArea(CViewMetrics& network, CViewArea* parentArea, CViewAreaUpdateHandler* updateHandler);
    ~CViewArea();
    CViewArea(const CViewArea&) = delete;
    CViewArea& operator=(const CViewArea&) = delete;

    // Attributes of this area. `axis` is kAxisX or kAxisY.
    void setSize(int axis, CSizeRule rule);
    void setMin(int axis, CSizeRule rule);
    void setMax(int axis, CSizeRule rule);
    void setPlacement(Placement newPlacement);
    /// The area whose rectangle a "match" copies; null for none yet.
    void setMatch(CViewArea* target);
    void setAlignment(int axis, MetricAlign value);
    void setInlineAlignment(int axis, MetricAlign value);
    void setInlineVertical(bool value);
    void setNewInlineRow(bool value);
    void setScrollable(bool value);
    /// Relative sizes of children follow the viewport, as the ratio follows the content.
    void setAutoRatio(int axis, bool value);
    void setVisible(bool value);
    /// Hidden, but its room is kept.
    void setWeakHide(bool value);
    void setInnerBorder(const CViewBorder& border);
    void setOuterBorder(const CViewBorder& border);
    void setSpread(const CViewBorder& border) { spread = border; }
    void setScroller(int axis, double units);
    void setOffset(int axis, double value);
    void setRatio(int axis, double value); // at least 0.0001
    /// Off: the compact size is not made from the children but stays what was set.
    void setCompactEnabled(int axis, bool value);
    /// Size of a content that is not made of views, in pixels.
    void setCompactValue(int axis, double pixels);
    /// What a window gives its root view.
    void setRegion(double x, double y, double width, double height);
    /// Asks for the placement of the children anew.
    void markDirty();

    double value(Metric metric, int axis) const { return metrics.value(id(metric, axis)); }
    double childCount() const { return metrics.value(childCountCell); }
    CViewArea* getParent() const { return parent; }
    const CVector<CViewArea*, 4>& getChildren() const { return children; }
    CViewMetrics& getMetrics() const { return metrics; }
    const CViewBorder& getSpread() const { return spread; }
    const CViewBorder& getInnerBorder() const { return inner; }
    bool isScrollable() const { return scrollable; }
    bool isShown() const { return visible; }
    int getLevel() const { return level; } // 0 for a root

private:
    friend class CViewMetrics;
    using M = Metric;
    enum RowMetric { kRowMain, kRowMainFixed, kRowCross, kRowCrossFixed, kRowMetricCount };
    struct CInlineRow {
        CCellId cells[kRowMetricCount] = {};
        CVector<CViewArea*, 8> items;
        bool hasFixedCross = false;
    };
    /// Position and size of a rectangle on each axis.
    struct CRectProgram {
        CMetricProgram position[2];
        CMetricProgram size[2];
    };

    CCellId id(Metric metric, int axis) const { return cells[static_cast<int>(metric)][axis]; }
    static uint32_t ownBit(Metric metric, int axis) {
        return 1U << (static_cast<int>(metric) * 2 + axis);
    }
    bool isOwn(Metric metric, int axis) const { return ownCells & ownBit(metric, axis); }
    CCellId ownCell(Metric metric, int axis);
    void setCell(Metric metric, int axis, double newValue);
    template <class T>
    void change(T& member, const T& newValue, bool concernsParent);
    void setScrollMetric(Metric metric, int axis, double newValue);
    void compileScaled(Metric metric, int axis, double units);
    void setBorder(CViewBorder& border, const CViewBorder& newBorder, Metric nearMetric);
    double borderUnits(Metric metric, int axis) const;
    void pushBorder(CMetricProgram& program, Metric metric, int axis, MetricOp op) const;
    void addBorders(CMetricProgram& program, Metric nearMetric, int axis) const;
    void subtractBorders(CMetricProgram& program, Metric nearMetric, int axis) const;
    void markParentDirty();
    bool takesRoom() const { return visible || weakHidden; }
    bool isDocked() const { return placement >= Placement::Full && placement <= Placement::Right; }

    // Own size
    void compileSizes();
    void compileSize(int axis);
    CSizeRule effectiveSize(int axis) const;
    SizeMode sizeGivenByPlacement(int axis) const;
    void pushSize(CMetricProgram& program, const CSizeRule& rule, int axis, bool isClamped);
    void pushClamp(CMetricProgram& program, int axis);
    void compileLimit(Metric metric, const CSizeRule& rule, int axis, double fallback);
    bool isFixed(int axis) const;

    // Placement of the children
    void rebuild();
    void handOver();
    int mainAxis() const { return inlineVertical ? kAxisY : kAxisX; }
    void groupRows();
    void resizeRows(size_t count);
    void compileRow(CInlineRow& row);
    void compileCompact(int axis);
    void pushCompactRows(CMetricProgram& program, int axis) const;
    void compileChildCount();
    void pushTotal(CMetricProgram& program, int axis) const;
    void pushContentTotal(CMetricProgram& program, int axis) const;
    CRectProgram contentRect(bool hasInnerBorders);
    void giveRegion(CViewArea& child, const CRectProgram& region, const CRectProgram& available);
    void placeOnAxis(CViewArea& child, int axis, MetricAlign align);
    void placeInRegion(CViewArea& child);
    void placeDocked(CRectProgram& rest);
    static CRectProgram regionOf(const CViewArea& child);
    static void shrink(CRectProgram& rest, const CViewArea& child);
    void placeRows(const CRectProgram& rest);
    void placeRow(const CInlineRow& row, const CRectProgram& rest, CMetricProgram& crossStart);
    void pushRowStart(CMetricProgram& program, const CInlineRow& row, const CRectProgram& rest);
    void pushStackStart(CMetricProgram& program, const CRectProgram& rest);
    void placeOthers();
    const CViewArea& rootArea() const;
    void giveRegionOnAxis(CViewArea& child, int axis, const CMetricProgram& position,
                          const CMetricProgram& size);
    void coverArea(CViewArea& child, const CViewArea& source);
    void placeScroller(CViewArea& child);

    CViewMetrics& metrics;
    CViewArea* parent;
    CViewAreaUpdateHandler* handler;
    CVector<CViewArea*, 4> children; // in tree order
    CCellId cells[static_cast<int>(Metric::Count)][2];
    uint32_t ownCells = 0; // bits; the others are the window's, with the value of an unset metric
    CCellId childCountCell;
    CSizeRule sizes[2];
    CSizeRule minSizes[2];
    CSizeRule maxSizes[2];
    Placement placement = Placement::Inline;
    CViewArea* match = nullptr;
    CVector<CViewArea*, 1> matchers; // areas that match this one
    MetricAlign alignment[2] = {MetricAlign::Center, MetricAlign::Center};
    MetricAlign inlineAlignment[2] = {MetricAlign::Center, MetricAlign::Center};
    CViewBorder inner;
    CViewBorder outer;
    CViewBorder spread;
    bool inlineVertical = false;
    bool newInlineRow = false;
    bool scrollable = false;
    bool autoRatio[2] = {false, false};
    bool compactEnabled[2] = {true, true};
    bool visible = true;
    bool weakHidden = false;
    bool isInDirtyList = false;
    bool isInChangedList = false;
    int level;
    CVector<CInlineRow, 1> rows;
};

} // namespace lum
