#include "UI/CViewArea.h"

#include <algorithm>
#include <cmath>

// The cells of an area, its attributes, and the programs of its own size.

namespace lum {

namespace {

constexpr double kNoLimit = 1e10;         // pixels; a size without a given maximum
constexpr double kSmallestRatio = 0.0001; // of a scrolled content's visible part
constexpr double kPositionSteps = 128.0;  // of a pixel, in handed-over rectangles

/// What a metric is until a view sets it; most views never set these.
struct CUnsetMetric {
    Metric metric;
    double value;
};
constexpr CUnsetMetric kUnsetMetrics[] = {
    {Metric::InnerNear, 0.0}, {Metric::InnerFar, 0.0}, {Metric::OuterNear, 0.0},
    {Metric::OuterFar, 0.0},  {Metric::Min, 0.0},      {Metric::Max, kNoLimit},
    {Metric::Offset, 0.0},    {Metric::Ratio, 1.0},    {Metric::Scroller, 0.0},
};
constexpr int kMetricCount = static_cast<int>(Metric::Count);
static_assert(kMetricCount * 2 <= 32, "a bit for each cell");

} // namespace

CViewArea::CViewArea(CViewMetrics& network, CViewArea* parentArea,
                     CViewAreaUpdateHandler* updateHandler)
    : metrics(network),
      parent(parentArea),
      handler(updateHandler),
      level(parentArea ? parentArea->level + 1 : 0) {
    for (auto& pair : cells) pair[kAxisX] = pair[kAxisY] = CViewMetrics::kNoCell;
    for (const CUnsetMetric& unset : kUnsetMetrics)
        for (CCellId& cell : cells[static_cast<int>(unset.metric)])
            cell = metrics.constantCell(unset.value);
    for (int metric = 0; metric < kMetricCount; metric++)
        for (const int axis : {kAxisX, kAxisY})
            if (cells[metric][axis] == CViewMetrics::kNoCell)
                ownCell(static_cast<Metric>(metric), axis);
    childCountCell = metrics.newCell(this);
    if (parent) parent->children.push_back(this);
    markDirty();
    markParentDirty();
}

CViewArea::~CViewArea() {
    setMatch(nullptr);
    for (CViewArea* matcher : matchers) {
        matcher->match = nullptr;
        matcher->markParentDirty();
    }
    for (CViewArea* child : children) child->parent = nullptr;
    if (parent) {
        auto& siblings = parent->children;
        size_t place = siblings.size();
        while (siblings[place - 1] != this) place--;
        siblings.erase(place - 1);
        for (CInlineRow& row : parent->rows) row.items.clear();
        markParentDirty();
    }
    resizeRows(0);
    metrics.deleteCell(childCountCell);
    for (int metric = 0; metric < kMetricCount; metric++)
        for (const int axis : {kAxisX, kAxisY})
            if (isOwn(static_cast<Metric>(metric), axis)) metrics.deleteCell(cells[metric][axis]);
    metrics.forget(*this);
}

/// The area's own cell of a metric; programs that read the window's have to be compiled anew.
CCellId CViewArea::ownCell(Metric metric, int axis) {
    CCellId& cell = cells[static_cast<int>(metric)][axis];
    if (isOwn(metric, axis)) return cell;
    const double unset = cell == CViewMetrics::kNoCell ? 0.0 : metrics.value(cell);
    cell = metrics.newCell(this);
    metrics.setValue(cell, unset);
    ownCells |= ownBit(metric, axis);
    return cell;
}

void CViewArea::setCell(Metric metric, int axis, double newValue) {
    if (isOwn(metric, axis) || value(metric, axis) != newValue)
        metrics.setValue(ownCell(metric, axis), newValue);
}

void CViewArea::markDirty() {
    metrics.noteDirty(*this);
}

void CViewArea::markParentDirty() {
    if (parent) parent->markDirty();
}

// ---- Attributes

template <class T>
void CViewArea::change(T& member, const T& newValue, bool concernsParent) {
    if (member == newValue) return;
    member = newValue;
    markDirty();
    if (concernsParent) markParentDirty();
}

// The parent's sums name the children of a fixed size, so a new mode is its concern. A new amount,
// as of a size that moves in time, changes one cell.
void CViewArea::setSize(int axis, CSizeRule rule) {
    const bool isNewMode = rule.mode != sizes[axis].mode;
    if (isNewMode || isInDirtyList) return change(sizes[axis], rule, isNewMode);
    sizes[axis] = rule;
    compileSize(axis);
}

void CViewArea::setMin(int axis, CSizeRule rule) {
    change(minSizes[axis], rule, false);
}

void CViewArea::setMax(int axis, CSizeRule rule) {
    change(maxSizes[axis], rule, false);
}

void CViewArea::setPlacement(Placement newPlacement) {
    change(placement, newPlacement, true);
}

void CViewArea::setMatch(CViewArea* target) {
    if (target == match) return;
    if (match) {
        auto& list = match->matchers;
        size_t place = list.size();
        while (list[place - 1] != this) place--;
        list.erase(place - 1);
    }
    match = target;
    if (match) match->matchers.push_back(this);
    markParentDirty();
}

void CViewArea::setAlignment(int axis, MetricAlign value) {
    change(alignment[axis], value, true);
}

void CViewArea::setInlineAlignment(int axis, MetricAlign value) {
    change(inlineAlignment[axis], value, false);
}

void CViewArea::setInlineVertical(bool value) {
    change(inlineVertical, value, false);
}

void CViewArea::setNewInlineRow(bool value) {
    change(newInlineRow, value, true);
}

void CViewArea::setScrollable(bool value) {
    change(scrollable, value, false);
}

void CViewArea::setAutoRatio(int axis, bool value) {
    change(autoRatio[axis], value, false);
}

void CViewArea::setVisible(bool value) {
    change(visible, value, true);
}

void CViewArea::setWeakHide(bool value) {
    change(weakHidden, value, true);
}

void CViewArea::setInnerBorder(const CViewBorder& border) {
    setBorder(inner, border, M::InnerNear);
}

void CViewArea::setOuterBorder(const CViewBorder& border) {
    setBorder(outer, border, M::OuterNear);
}

// Programs leave out sides of 0, which are most, so they change when a side becomes or ceases to be
// one; any other change is a write of its cell.
void CViewArea::setBorder(CViewBorder& border, const CViewBorder& newBorder, Metric nearMetric) {
    if (border == newBorder) return;
    const CViewBorder old = border;
    border = newBorder;
    const Metric farMetric = static_cast<Metric>(static_cast<int>(nearMetric) + 1);
    compileScaled(nearMetric, kAxisX, border.left);
    compileScaled(farMetric, kAxisX, border.right);
    compileScaled(nearMetric, kAxisY, border.top);
    compileScaled(farMetric, kAxisY, border.bottom);
    const bool isSameForm =
        (old.left == 0.0) == (border.left == 0.0) && (old.right == 0.0) == (border.right == 0.0) &&
        (old.top == 0.0) == (border.top == 0.0) && (old.bottom == 0.0) == (border.bottom == 0.0);
    if (isSameForm) return;
    markDirty();
    markParentDirty();
}

double CViewArea::borderUnits(Metric metric, int axis) const {
    const bool isInner = metric == M::InnerNear || metric == M::InnerFar;
    const bool isNear = metric == M::InnerNear || metric == M::OuterNear;
    const CViewBorder& border = isInner ? inner : outer;
    if (axis == kAxisX) return isNear ? border.left : border.right;
    return isNear ? border.top : border.bottom;
}

void CViewArea::pushBorder(CMetricProgram& program, Metric metric, int axis, MetricOp op) const {
    if (borderUnits(metric, axis) != 0.0) program.cell(id(metric, axis)).op(op);
}

void CViewArea::addBorders(CMetricProgram& program, Metric nearMetric, int axis) const {
    pushBorder(program, nearMetric, axis, MetricOp::Add);
    pushBorder(program, static_cast<Metric>(static_cast<int>(nearMetric) + 1), axis, MetricOp::Add);
}

void CViewArea::subtractBorders(CMetricProgram& program, Metric nearMetric, int axis) const {
    pushBorder(program, nearMetric, axis, MetricOp::Subtract);
    pushBorder(program, static_cast<Metric>(static_cast<int>(nearMetric) + 1), axis,
               MetricOp::Subtract);
}

void CViewArea::setScroller(int axis, double units) {
    const bool wasOwn = isOwn(M::Scroller, axis);
    compileScaled(M::Scroller, axis, units);
    if (isOwn(M::Scroller, axis) != wasOwn) markDirty();
}

// Most borders are 0, which needs no program.
void CViewArea::compileScaled(Metric metric, int axis, double units) {
    if (units == 0.0) return setCell(metric, axis, 0.0);
    CMetricProgram program;
    program.constant(metrics.constantIndex(units)).cell(metrics.scaleCell()).op(MetricOp::Multiply);
    metrics.setProgram(ownCell(metric, axis), program);
}

void CViewArea::setScrollMetric(Metric metric, int axis, double newValue) {
    const bool wasOwn = isOwn(metric, axis);
    setCell(metric, axis, newValue);
    if (isOwn(metric, axis) != wasOwn) markDirty();
}

void CViewArea::setOffset(int axis, double newValue) {
    setScrollMetric(M::Offset, axis, newValue);
}

void CViewArea::setRatio(int axis, double newValue) {
    setScrollMetric(M::Ratio, axis, std::clamp(newValue, kSmallestRatio, 1.0));
}

void CViewArea::setCompactEnabled(int axis, bool value) {
    change(compactEnabled[axis], value, false);
    if (!value) setCell(M::Compact, axis, 0.0);
}

void CViewArea::setCompactValue(int axis, double pixels) {
    change(compactEnabled[axis], false, false);
    setCell(M::Compact, axis, pixels);
}

void CViewArea::setRegion(double x, double y, double width, double height) {
    const double position[2] = {x, y};
    const double size[2] = {width, height};
    for (const int axis : {kAxisX, kAxisY}) {
        setCell(M::RegionPosition, axis, position[axis]);
        setCell(M::RegionSize, axis, size[axis]);
        setCell(M::Available, axis, size[axis]);
    }
}

// ---- Own size

void CViewArea::compileSizes() {
    for (const int axis : {kAxisX, kAxisY}) {
        compileLimit(M::Min, minSizes[axis], axis, 0.0);
        compileLimit(M::Max, maxSizes[axis], axis, kNoLimit);
        compileSize(axis);
    }
}

void CViewArea::compileSize(int axis) {
    CMetricProgram program;
    const CSizeRule rule = effectiveSize(axis);
    pushSize(program, rule, axis, true);
    const bool isSnapped =
        !parent && (rule.mode == SizeMode::Compact || rule.mode == SizeMode::Number);
    if (isSnapped) {
        program.cell(metrics.pixelSizeCell()).op(MetricOp::Divide).op(MetricOp::Round);
        program.cell(metrics.pixelSizeCell()).op(MetricOp::Multiply);
    }
    metrics.setProgram(id(M::Size, axis), program);
}

CSizeRule CViewArea::effectiveSize(int axis) const {
    if (sizes[axis].mode != SizeMode::Unset) return sizes[axis];
    return {sizeGivenByPlacement(axis), 1.0};
}

// A view that is docked to a side takes the region's extent along that side; one that covers a
// rectangle takes all of it.
SizeMode CViewArea::sizeGivenByPlacement(int axis) const {
    switch (placement) {
    case Placement::Inline:
        return SizeMode::Compact;
    case Placement::Top:
    case Placement::Bottom:
        return axis == kAxisX ? SizeMode::FullSimple : SizeMode::Compact;
    case Placement::Left:
    case Placement::Right:
        return axis == kAxisY ? SizeMode::FullSimple : SizeMode::Compact;
    default:
        return SizeMode::Percent;
    }
}

// Relative sizes never feed the compact size that they depend on.
bool CViewArea::isFixed(int axis) const {
    const SizeMode mode = effectiveSize(axis).mode;
    return mode == SizeMode::Compact || mode == SizeMode::Number;
}

void CViewArea::pushSize(CMetricProgram& program, const CSizeRule& rule, int axis, bool isClamped) {
    const auto pushPart = [&] {
        if (rule.amount == 1.0) return;
        program.constant(metrics.constantIndex(rule.amount)).op(MetricOp::Multiply);
    };
    switch (rule.mode) {
    case SizeMode::Balanced:
        program.cell(id(M::Available, axis));
        if (parent)
            program.cell(parent->childCountCell);
        else
            program.constant(metrics.constantIndex(0.0));
        program.cell(id(M::Available, axis)).op(MetricOp::SafeDivide);
        subtractBorders(program, M::OuterNear, axis);
        break;
    case SizeMode::CompactFull:
        if (parent) program.cell(parent->id(M::Compact, axis));
        program.cell(id(M::Available, axis));
        subtractBorders(program, M::OuterNear, axis);
        if (parent) program.op(MetricOp::Max);
        pushPart();
        break;
    case SizeMode::FullSimple:
        program.cell(id(M::Available, axis));
        subtractBorders(program, M::OuterNear, axis);
        if (scrollable) program.addCell(id(M::Scroller, axis));
        break;
    case SizeMode::Number:
        program.constant(metrics.constantIndex(rule.amount)).cell(metrics.scaleCell());
        program.op(MetricOp::Multiply);
        break;
    case SizeMode::Percent:
        program.cell(id(M::Available, axis));
        pushPart();
        subtractBorders(program, M::OuterNear, axis);
        break;
    case SizeMode::Unset:
    case SizeMode::Compact:
        program.cell(id(M::Compact, axis));
        addBorders(program, M::InnerNear, axis);
        if (scrollable) program.addCell(id(M::Scroller, axis));
        break;
    }
    if (isClamped) pushClamp(program, axis);
    program.op(MetricOp::Round);
}

void CViewArea::pushClamp(CMetricProgram& program, int axis) {
    program.cell(id(M::Min, axis)).cell(id(M::Max, axis)).op(MetricOp::Clamp);
}

void CViewArea::compileLimit(Metric metric, const CSizeRule& rule, int axis, double fallback) {
    if (rule.mode == SizeMode::Unset) return setCell(metric, axis, fallback);
    CMetricProgram program;
    pushSize(program, rule, axis, false);
    metrics.setProgram(ownCell(metric, axis), program);
}

void CViewArea::handOver() {
    if (!handler) return;
    const auto stepped = [this](Metric metric, int axis) {
        return std::round(value(metric, axis) * kPositionSteps) / kPositionSteps;
    };
    handler->onAreaUpdate(stepped(M::Position, kAxisX), stepped(M::Position, kAxisY),
                          stepped(M::Size, kAxisX), stepped(M::Size, kAxisY));
}

} // namespace lum
