#include "Core/CLog.h"
#include "UI/CViewArea.h"

// The placement of an area's children, compiled into their cells.

namespace lum {

namespace {

/// Docked children or stacked rows whose places are sums over all before them. The next ones build
/// on the place of this one: shorter programs, and a chain that stays far from the deepest level.
constexpr int kChainLength = 16;

bool endsChain(int index) {
    return index % kChainLength == kChainLength - 1;
}

} // namespace

// Whatever compiles to the programs that are there already costs their comparison alone.
void CViewArea::rebuild() {
    compileSizes();
    groupRows();
    for (const int axis : {kAxisY, kAxisX})
        if (compactEnabled[axis]) compileCompact(axis);
    compileChildCount();
    CRectProgram rest = contentRect(true);
    placeDocked(rest);
    placeRows(rest);
    placeOthers();
}

void CViewArea::groupRows() {
    size_t count = 0;
    const auto isInRow = [](const CViewArea* child) {
        return child->placement == Placement::Inline && child->takesRoom();
    };
    for (const CViewArea* child : children)
        if (isInRow(child) && (count == 0 || child->newInlineRow)) count++;
    resizeRows(count);
    size_t row = 0;
    for (CViewArea* child : children) {
        if (!isInRow(child)) continue;
        if (row == 0 || child->newInlineRow) rows[row++].items.clear();
        rows[row - 1].items.push_back(child);
    }
    for (CInlineRow& each : rows) compileRow(each);
}

// Rows that stay keep their cells, so that what reads them needs no new program.
void CViewArea::resizeRows(size_t count) {
    while (rows.size() > count) {
        for (const CCellId cell : rows.back().cells) metrics.deleteCell(cell);
        rows.pop_back();
    }
    while (rows.size() < count) {
        rows.emplace_back();
        for (CCellId& cell : rows.back().cells) cell = metrics.newCell(this);
    }
}

void CViewArea::compileRow(CInlineRow& row) {
    const int main = mainAxis();
    const int cross = 1 - main;
    CMetricProgram sums[2];    // all, fixed alone
    CMetricProgram largest[2]; // the same
    int counts[2] = {0, 0};
    for (CMetricProgram& sum : sums) sum.constant(metrics.constantIndex(0.0));
    for (const CViewArea* item : row.items) {
        for (const int kind : {0, 1}) {
            if (kind == 0 || item->isFixed(main)) {
                item->pushTotal(sums[kind], main);
                sums[kind].op(MetricOp::Add);
            }
            if (kind == 1 && !item->isFixed(cross)) continue;
            item->pushTotal(largest[kind], cross);
            counts[kind]++;
        }
    }
    for (const int kind : {0, 1}) {
        largest[kind].constant(metrics.countIndex(counts[kind])).op(MetricOp::MaxOfN);
        metrics.setProgram(row.cells[kRowMain + kind], sums[kind]);
        metrics.setProgram(row.cells[kRowCross + kind], largest[kind]);
    }
    row.hasFixedCross = counts[1] > 0;
}

void CViewArea::pushTotal(CMetricProgram& program, int axis) const {
    program.cell(id(M::Size, axis));
    addBorders(program, M::OuterNear, axis);
}

// What a docked child asks of its parent's compact size: itself, or its content if it is relative.
void CViewArea::pushContentTotal(CMetricProgram& program, int axis) const {
    if (isFixed(axis)) return pushTotal(program, axis);
    program.cell(id(M::Compact, axis));
    addBorders(program, M::InnerNear, axis);
    addBorders(program, M::OuterNear, axis);
}

// The children that are docked along the axis lie side by side: each adds to the sum inside which
// the later ones and the rows lie. The others compete for the largest.
void CViewArea::compileCompact(int axis) {
    const Placement nearSide = axis == kAxisX ? Placement::Left : Placement::Top;
    const Placement farSide = axis == kAxisX ? Placement::Right : Placement::Bottom;
    CMetricProgram sum;
    CMetricProgram program;
    int count = 0;
    const auto addSum = [&] {
        if (!sum.empty()) program.append(sum).op(MetricOp::Add);
        count++;
    };
    for (const CViewArea* child : children) {
        if (!child->takesRoom() || !child->isDocked()) continue;
        if (child->placement != nearSide && child->placement != farSide) {
            child->pushContentTotal(program, axis);
            addSum();
            continue;
        }
        const bool isFirst = sum.empty();
        child->pushContentTotal(sum, axis);
        if (!child->isFixed(axis))
            sum.constant(metrics.constantIndex(0.0)).op(MetricOp::Max); // an empty one asks nothing
        if (!isFirst) sum.op(MetricOp::Add);
    }
    if (!sum.empty()) {
        program.append(sum);
        count++;
    }
    CMetricProgram inRows;
    pushCompactRows(inRows, axis);
    if (!inRows.empty()) {
        program.append(inRows);
        addSum();
    }
    program.constant(metrics.countIndex(count)).op(MetricOp::MaxOfN);
    metrics.setProgram(id(M::Compact, axis), program);
}

void CViewArea::pushCompactRows(CMetricProgram& program, int axis) const {
    const bool isMain = axis == mainAxis();
    int count = 0;
    for (const CInlineRow& row : rows) {
        if (!isMain && !row.hasFixedCross) continue;
        program.cell(row.cells[isMain ? kRowMainFixed : kRowCrossFixed]);
        if (++count > 1) program.op(isMain ? MetricOp::Max : MetricOp::Add);
    }
}

void CViewArea::compileChildCount() {
    int count = 0;
    for (const CViewArea* child : children)
        if (child->takesRoom() && child->placement <= Placement::Right) count++;
    metrics.setValue(childCountCell, count);
}

// ---- Rectangles

// A scrolled content is larger than the viewport by the visible part, and moved by the offset.
CViewArea::CRectProgram CViewArea::contentRect(bool hasInnerBorders) {
    CRectProgram rect;
    for (const int axis : {kAxisX, kAxisY}) {
        CMetricProgram& position = rect.position[axis];
        CMetricProgram& size = rect.size[axis];
        size.cell(id(M::Size, axis));
        position.cell(id(M::Position, axis));
        if (scrollable) {
            size.subtractCell(id(M::Scroller, axis)).cell(id(M::Ratio, axis)).op(MetricOp::Divide);
            position.cell(id(M::Offset, axis)).append(size).op(MetricOp::Multiply);
            position.op(MetricOp::Subtract);
        }
        if (!hasInnerBorders) continue;
        pushBorder(position, M::InnerNear, axis, MetricOp::Add);
        subtractBorders(size, M::InnerNear, axis);
    }
    return rect;
}

void CViewArea::giveRegion(CViewArea& child, const CRectProgram& region,
                           const CRectProgram& available) {
    for (const int axis : {kAxisX, kAxisY}) {
        metrics.setProgram(child.id(M::RegionPosition, axis), region.position[axis]);
        metrics.setProgram(child.id(M::RegionSize, axis), region.size[axis]);
        if (!(scrollable && autoRatio[axis])) {
            metrics.setProgram(child.id(M::Available, axis), available.size[axis]);
            continue;
        }
        CMetricProgram viewport;
        viewport.cell(id(M::Size, axis)).subtractCell(id(M::Scroller, axis));
        subtractBorders(viewport, M::InnerNear, axis);
        metrics.setProgram(child.id(M::Available, axis), viewport);
    }
}

void CViewArea::placeOnAxis(CViewArea& child, int axis, MetricAlign align) {
    CMetricProgram program;
    program.cell(child.id(M::RegionPosition, axis));
    child.pushBorder(program, M::OuterNear, axis, MetricOp::Add);
    if (align != MetricAlign::Near) {
        program.cell(child.id(M::RegionSize, axis));
        child.pushTotal(program, axis);
        program.op(MetricOp::Subtract);
        if (align == MetricAlign::Center) program.op(MetricOp::Half).op(MetricOp::Round);
        program.op(MetricOp::Add);
    }
    program.op(MetricOp::Round);
    metrics.setProgram(child.id(M::Position, axis), program);
}

void CViewArea::placeInRegion(CViewArea& child) {
    for (const int axis : {kAxisX, kAxisY}) placeOnAxis(child, axis, child.alignment[axis]);
}

// ---- Docked children

// The side to which a child is docked is its alignment on that axis; its own counts on the other.
void CViewArea::placeDocked(CRectProgram& rest) {
    int index = 0;
    for (CViewArea* child : children) {
        if (!child->takesRoom() || !child->isDocked()) continue;
        MetricAlign aligns[2] = {child->alignment[kAxisX], child->alignment[kAxisY]};
        switch (child->placement) {
        case Placement::Top:
            aligns[kAxisY] = MetricAlign::Near;
            break;
        case Placement::Bottom:
            aligns[kAxisY] = MetricAlign::Far;
            break;
        case Placement::Left:
            aligns[kAxisX] = MetricAlign::Near;
            break;
        case Placement::Right:
            aligns[kAxisX] = MetricAlign::Far;
            break;
        default:
            break;
        }
        giveRegion(*child, rest, rest);
        for (const int axis : {kAxisX, kAxisY}) placeOnAxis(*child, axis, aligns[axis]);
        if (endsChain(index++)) rest = regionOf(*child);
        shrink(rest, *child);
    }
}

CViewArea::CRectProgram CViewArea::regionOf(const CViewArea& child) {
    CRectProgram region;
    for (const int axis : {kAxisX, kAxisY}) {
        region.position[axis].cell(child.id(M::RegionPosition, axis));
        region.size[axis].cell(child.id(M::RegionSize, axis));
    }
    return region;
}

void CViewArea::shrink(CRectProgram& rest, const CViewArea& child) {
    if (child.placement == Placement::Full) return;
    const bool isVertical =
        child.placement == Placement::Top || child.placement == Placement::Bottom;
    const int axis = isVertical ? kAxisY : kAxisX;
    child.pushTotal(rest.size[axis], axis);
    rest.size[axis].op(MetricOp::Subtract);
    if (child.placement == Placement::Top || child.placement == Placement::Left) {
        child.pushTotal(rest.position[axis], axis);
        rest.position[axis].op(MetricOp::Add);
    }
}

// ---- Inline rows

void CViewArea::placeRows(const CRectProgram& rest) {
    if (rows.empty()) return;
    CMetricProgram crossStart;
    pushStackStart(crossStart, rest);
    const int cross = 1 - mainAxis();
    for (int index = 0; index < rows.ssize(); index++) {
        const CInlineRow& row = rows[index];
        placeRow(row, rest, crossStart);
        if (endsChain(index)) crossStart = regionOf(*row.items[0]).position[cross];
        crossStart.addCell(row.cells[kRowCross]);
    }
}

void CViewArea::pushStackStart(CMetricProgram& program, const CRectProgram& rest) {
    const int cross = 1 - mainAxis();
    program.append(rest.position[cross]);
    if (inlineAlignment[cross] == MetricAlign::Near) return;
    program.append(rest.size[cross]);
    for (const CInlineRow& row : rows) program.subtractCell(row.cells[kRowCross]);
    if (inlineAlignment[cross] == MetricAlign::Center)
        program.op(MetricOp::Half).op(MetricOp::Round);
    program.op(MetricOp::Add);
}

void CViewArea::pushRowStart(CMetricProgram& program, const CInlineRow& row,
                             const CRectProgram& rest) {
    const int main = mainAxis();
    program.append(rest.position[main]);
    if (inlineAlignment[main] == MetricAlign::Near) return;
    program.append(rest.size[main]).subtractCell(row.cells[kRowMain]);
    if (inlineAlignment[main] == MetricAlign::Center)
        program.op(MetricOp::Half).op(MetricOp::Round);
    program.op(MetricOp::Add);
}

// The region of an inline child is its row; relative sizes refer to all that the rows share.
void CViewArea::placeRow(const CInlineRow& row, const CRectProgram& rest,
                         CMetricProgram& crossStart) {
    const int main = mainAxis();
    const int cross = 1 - main;
    CMetricProgram pen;
    pushRowStart(pen, row, rest);
    CRectProgram region;
    region.position[main] = pen;
    region.position[cross] = crossStart;
    region.size[main].cell(row.cells[kRowMain]);
    region.size[cross].cell(row.cells[kRowCross]);
    for (CViewArea* child : row.items) {
        giveRegion(*child, region, rest);
        placeOnAxis(*child, cross, child->alignment[cross]);
        CMetricProgram place = pen;
        child->pushBorder(place, M::OuterNear, main, MetricOp::Add);
        place.op(MetricOp::Round);
        metrics.setProgram(child->id(M::Position, main), place);
        child->pushTotal(pen, main);
        pen.op(MetricOp::Add);
    }
}

// ---- Children outside the flow

void CViewArea::placeOthers() {
    const CRectProgram content = contentRect(false);
    for (CViewArea* child : children) {
        switch (child->placement) {
        case Placement::Overlay:
            giveRegion(*child, content, content);
            placeInRegion(*child);
            break;
        case Placement::WindowOverlay:
            coverArea(*child, rootArea());
            break;
        case Placement::Match:
            if (child->match) coverArea(*child, *child->match);
            break;
        case Placement::ScrollerH:
        case Placement::ScrollerV:
        case Placement::ScrollerP:
            placeScroller(*child);
            break;
        default:
            break;
        }
    }
}

const CViewArea& CViewArea::rootArea() const {
    const CViewArea* area = this;
    while (area->parent) area = area->parent;
    return *area;
}

void CViewArea::giveRegionOnAxis(CViewArea& child, int axis, const CMetricProgram& position,
                                 const CMetricProgram& size) {
    metrics.setProgram(child.id(M::RegionPosition, axis), position);
    metrics.setProgram(child.id(M::RegionSize, axis), size);
    metrics.setProgram(child.id(M::Available, axis), size);
}

void CViewArea::coverArea(CViewArea& child, const CViewArea& source) {
    for (const int axis : {kAxisX, kAxisY}) {
        CMetricProgram position, size;
        position.cell(source.id(M::Position, axis));
        size.cell(source.id(M::Size, axis));
        giveRegionOnAxis(child, axis, position, size);
    }
    placeInRegion(child);
}

// The bars lie along the bottom and the right, the last kind in the corner between them.
void CViewArea::placeScroller(CViewArea& child) {
    if (!scrollable) {
        logFormat("Invalid placement %i, parent view does not support scrolling",
                  static_cast<int>(child.placement));
        return;
    }
    const bool isAtFarSide[2] = {child.placement != Placement::ScrollerH,
                                 child.placement != Placement::ScrollerV};
    for (const int axis : {kAxisX, kAxisY}) {
        CMetricProgram position, size;
        position.cell(id(M::Position, axis));
        if (isAtFarSide[axis]) {
            position.addCell(id(M::Size, axis)).subtractCell(id(M::Scroller, axis));
            size.cell(id(M::Scroller, axis));
        } else {
            size.cell(id(M::Size, axis)).subtractCell(id(M::Scroller, axis));
        }
        giveRegionOnAxis(child, axis, position, size);
    }
    placeInRegion(child);
}

} // namespace lum
