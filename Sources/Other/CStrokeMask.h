#pragma once

#include "Core/CByteBuffer.h"
#include "Other/CCurveStroke.h"
#include "Platform/Lock.h"

namespace lum {

/// Coverage of one curve over a bitmap: (width + 40) * (height + 32) bytes. A row starts with two
/// 32-bit numbers, its first and last touched column, -1 for an empty row; around the bitmap's
/// pixels lie 16 columns and rows, so that a brush at the edge stays in range. Clear between
/// curves.
class CStrokeMask : public CLumMemAllocator {
public:
    static constexpr int kMargin = 16; // columns and rows on each side

    CStrokeMask(int bitmapWidth, int bitmapHeight);

    /// Stamps the brush along a segment, without its end; the part outside the mask is cut off.
    void addSegment(CCurvePoint from, CCurvePoint to, const CStrokeBrush& brush);
    /// One stamp, nothing outside.
    void addPoint(CCurvePoint point, const CStrokeBrush& brush);
    /// Coverage of a bitmap's row from `first` on to before `end`, which are cut to what is
    /// touched; null for an untouched row.
    const uint8_t* getRow(int y, int& first, int& end) const;
    void clear();

private:
    struct CExtent {
        int32_t first;
        int32_t last;
    };
    static constexpr int kExtentBytes = sizeof(CExtent);

    bool clip(CCurvePoint& from, CCurvePoint& to, const CStrokeBrush& brush) const;
    void stamp(int fixedX, int fixedY, const CStrokeBrush& brush);
    CExtent extentOf(int maskRow) const;
    void setExtent(int maskRow, CExtent extent);
    uint8_t* rowBytes(int maskRow) { return bytes.data() + rowStart(maskRow); }
    size_t rowStart(int maskRow) const {
        return static_cast<size_t>(maskRow) * static_cast<size_t>(rowLength);
    }

    int width;     // columns, margins included
    int height;    // rows, margins included
    int rowLength; // bytes
    int firstRow;  // touched rows
    int lastRow;
    CByteBuffer bytes;
};

/// The masks of a bitmap. A curve takes one for its time, so that several threads can draw curves
/// into different parts of a bitmap at once; mostly there is one.
class CStrokeMaskList : public CLumMemAllocator {
public:
    CStrokeMaskList(int bitmapWidth, int bitmapHeight) : width(bitmapWidth), height(bitmapHeight) {}
    std::unique_ptr<CStrokeMask> take();
    void giveBack(std::unique_ptr<CStrokeMask> mask);

private:
    int width;
    int height;
    platform::CSpinLock lock;
    CVector<std::unique_ptr<CStrokeMask>, 1> idle; // clear; under the lock
};

} // namespace lum
