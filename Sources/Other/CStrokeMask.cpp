#include "Other/CStrokeMask.h"

#include "Other/PixelCode.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lum {

namespace {

constexpr double kStampsPerDiameter = 3.7;
constexpr double kClipInset = 0.00001; // pixels
constexpr int kFixedBits = 12;         // fraction of a stamp's position
constexpr double kFixedOne = 1 << kFixedBits;
constexpr int kExtentColumns = 8; // of a row, in front of its coverage

int toFixed(double value) {
    return static_cast<int>(std::lround(value * kFixedOne));
}

bool isFinite(const CCurvePoint& point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

/// The rectangle in which the centre of a brush may lie.
struct CClipBox {
    double left, top, right, bottom;
};

enum OutCode { kLeft = 1, kRight = 2, kAbove = 4, kBelow = 8 };

int outCode(const CCurvePoint& point, const CClipBox& box) {
    return (point.x < box.left    ? kLeft
            : point.x > box.right ? kRight
                                  : 0) |
           (point.y < box.top      ? kAbove
            : point.y > box.bottom ? kBelow
                                   : 0);
}

/// The point where a segment crosses one of the box's edges that `code` names.
CCurvePoint crossing(const CCurvePoint& from, const CCurvePoint& to, int code,
                     const CClipBox& box) {
    if (code & (kAbove | kBelow)) {
        const double y = code & kAbove ? box.top : box.bottom;
        return {from.x + (to.x - from.x) * (y - from.y) / (to.y - from.y), y};
    }
    const double x = code & kLeft ? box.left : box.right;
    return {x, from.y + (to.y - from.y) * (x - from.x) / (to.x - from.x)};
}

/// Cohen and Sutherland. False: nothing is left.
bool clipSegment(CCurvePoint& from, CCurvePoint& to, const CClipBox& box) {
    int codeFrom = outCode(from, box);
    int codeTo = outCode(to, box);
    for (int step = 0; step < 8; step++) { // four cuts are enough but for rounding
        if (!(codeFrom | codeTo)) return true;
        if (codeFrom & codeTo) return false;
        if (codeFrom) {
            from = crossing(from, to, codeFrom, box);
            if (!isFinite(from)) return false;
            codeFrom = outCode(from, box);
        } else {
            to = crossing(from, to, codeTo, box);
            if (!isFinite(to)) return false;
            codeTo = outCode(to, box);
        }
    }
    return false;
}

} // namespace

CStrokeMask::CStrokeMask(int bitmapWidth, int bitmapHeight)
    : width(bitmapWidth + 2 * kMargin),
      height(bitmapHeight + 2 * kMargin),
      rowLength(width + kExtentColumns),
      firstRow(height),
      lastRow(-1) {
    static_assert(kExtentBytes == kExtentColumns);
    bytes.resize(rowStart(height));
    std::memset(bytes.data(), 0, bytes.size());
    for (int y = 0; y < height; y++) setExtent(y, {-1, -1});
}

CStrokeMask::CExtent CStrokeMask::extentOf(int maskRow) const {
    CExtent extent;
    std::memcpy(&extent, bytes.data() + rowStart(maskRow), sizeof extent);
    return extent;
}

void CStrokeMask::setExtent(int maskRow, CExtent extent) {
    std::memcpy(rowBytes(maskRow), &extent, sizeof extent);
}

// A brush covers size / 2 - 1 pixels before the one of its centre and size / 2 behind it.
bool CStrokeMask::clip(CCurvePoint& from, CCurvePoint& to, const CStrokeBrush& brush) const {
    if (!isFinite(from) || !isFinite(to)) return false;
    const double half = brush.getSize() / 2.0;
    const CClipBox box{half - kMargin + kClipInset, half - kMargin + kClipInset,
                       width - kMargin - half - 1.0 - kClipInset,
                       height - kMargin - half - 1.0 - kClipInset};
    return box.left < box.right && box.top < box.bottom && clipSegment(from, to, box);
}

void CStrokeMask::addSegment(CCurvePoint from, CCurvePoint to, const CStrokeBrush& brush) {
    if (!clip(from, to, brush)) return;
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const int count =
        std::max(1, static_cast<int>(length * kStampsPerDiameter / brush.getDiameter()));
    int x = toFixed(from.x + kMargin);
    int y = toFixed(from.y + kMargin);
    // The sum of rounded steps never leaves the brush's range: their error is below half a
    // fraction each, and is put right by scaling the whole way instead of the step.
    const int64_t wayX = toFixed(to.x + kMargin) - x;
    const int64_t wayY = toFixed(to.y + kMargin) - y;
    for (int i = 0; i < count; i++)
        stamp(x + static_cast<int>(wayX * i / count), y + static_cast<int>(wayY * i / count),
              brush);
}

void CStrokeMask::addPoint(CCurvePoint point, const CStrokeBrush& brush) {
    CCurvePoint same = point;
    if (clip(point, same, brush))
        stamp(toFixed(point.x + kMargin), toFixed(point.y + kMargin), brush);
}

void CStrokeMask::stamp(int fixedX, int fixedY, const CStrokeBrush& brush) {
    constexpr int kGridShift = kFixedBits - CStrokeBrush::kGridBits;
    const int size = brush.getSize();
    const int left = (fixedX >> kFixedBits) - (size / 2 - 1);
    const int top = (fixedY >> kFixedBits) - (size / 2 - 1);
    const uint8_t* coverage = brush.stampAt(fixedX >> kGridShift & (CStrokeBrush::kGrid - 1),
                                            fixedY >> kGridShift & (CStrokeBrush::kGrid - 1));
    firstRow = std::min(firstRow, top);
    lastRow = std::max(lastRow, top + size - 1);
    for (int y = top; y < top + size; y++, coverage += size) {
        const CExtent old = extentOf(y);
        setExtent(y, {old.first < 0 ? left : std::min(old.first, left),
                      std::max(old.last, left + size - 1)});
        uint8_t* line = rowBytes(y) + kExtentBytes + left;
        for (int i = 0; i < size; i++) line[i] = std::max(line[i], coverage[i]);
    }
}

const uint8_t* CStrokeMask::getRow(int y, int& first, int& end) const {
    const CExtent extent = extentOf(y + kMargin);
    if (extent.first < 0) return nullptr;
    first = std::max(first, extent.first - kMargin);
    end = std::min(end, extent.last + 1 - kMargin);
    return first < end ? bytes.data() + rowStart(y + kMargin) + kExtentBytes + kMargin + first
                       : nullptr;
}

void CStrokeMask::clear() {
    for (int y = firstRow; y <= lastRow; y++) {
        const CExtent extent = extentOf(y);
        if (extent.first < 0) continue;
        std::memset(rowBytes(y) + kExtentBytes + extent.first, 0,
                    static_cast<size_t>(extent.last - extent.first + 1));
        setExtent(y, {-1, -1});
    }
    firstRow = height;
    lastRow = -1;
}

std::unique_ptr<CStrokeMask> CStrokeMaskList::take() {
    {
        platform::CSpinGuard guard(lock);
        if (!idle.empty()) {
            std::unique_ptr<CStrokeMask> mask = std::move(idle.back());
            idle.pop_back();
            return mask;
        }
    }
    return std::make_unique<CStrokeMask>(width, height);
}

void CStrokeMaskList::giveBack(std::unique_ptr<CStrokeMask> mask) {
    platform::CSpinGuard guard(lock);
    idle.push_back(std::move(mask));
}

// ---- Drawing

namespace {

constexpr double kOpacityScale = 128.0; // 7 bits
constexpr int kLowestOpacity = 1;

/// Whether stamps along a segment can touch the clip rectangle.
bool canReach(const CCurvePoint& from, const CCurvePoint& to, const CPixelRect& clip,
              double reach) {
    return std::max(from.x, to.x) + reach >= clip.left &&
           std::min(from.x, to.x) - reach <= clip.right &&
           std::max(from.y, to.y) + reach >= clip.top &&
           std::min(from.y, to.y) - reach <= clip.bottom;
}

void addCurve(CStrokeMask& mask, const CCurvePoint* points, int count, const CStrokeBrush& brush,
              const CPixelRect& clip, bool isSortedByX) {
    const double reach = brush.getSize();
    int first = 0;
    if (isSortedByX) {
        const auto isLeft = [&](const CCurvePoint& point) { return point.x + reach < clip.left; };
        const CCurvePoint* begin = std::partition_point(points, points + count, isLeft);
        first = std::max(0, static_cast<int>(begin - points) - 1);
    }
    for (int i = first; i + 1 < count; i++) {
        if (isSortedByX && points[i].x - reach > clip.right) return;
        if (canReach(points[i], points[i + 1], clip, reach))
            mask.addSegment(points[i], points[i + 1], brush);
    }
    mask.addPoint(points[count - 1], brush);
}

} // namespace

void CLinearBitmap::drawCurve(const CCurvePoint* points, int count, const CCurveStroke& stroke,
                              const CPixelRect& clip, bool isSortedByX) {
    const CPixelRect area = clip.intersected(bounds());
    if (count < 2 || !stroke.brush || area.empty()) return;
    const double opacity = stroke.color.opacity * stroke.opacity;
    const int weight =
        opacity > 0.0 ? static_cast<int>(std::lround(std::min(opacity, 1.0) * kOpacityScale)) : 0;
    if (weight < kLowestOpacity) return;

    std::unique_ptr<CStrokeMask> mask = strokeMasks->take();
    addCurve(*mask, points, count, *stroke.brush, area, isSortedByX);
    const uint32_t color = paletteColor(stroke.color.table, stroke.paletteIndex);
    for (int y = area.top; y < area.bottom; y++) {
        int first = area.left;
        int end = area.right;
        if (const uint8_t* coverage = mask->getRow(y, first, end))
            pixelCode().blendMask(row(y) + first * 4, coverage, end - first, color, weight);
    }
    mask->clear();
    strokeMasks->giveBack(std::move(mask));
}

} // namespace lum
