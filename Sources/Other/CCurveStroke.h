#pragma once

#include "Core/CByteBuffer.h"
#include "Other/CLinearBitmap.h"

namespace lum {

/// The pen of a curve: an anti-aliased disc, rendered once for each of 8 by 8 positions within a
/// pixel. Read-only while curves are drawn with it.
class CStrokeBrush : public CLumMemAllocator {
public:
    static constexpr int kGridBits = 3; // 2^3 positions each way
    static constexpr int kGrid = 1 << kGridBits;
    static constexpr double kLargestDiameter = 13.0; // pixels; the mask's margin holds its disc

    CStrokeBrush() { setDiameter(1.0); }
    explicit CStrokeBrush(double newDiameter) { setDiameter(newDiameter); }

    /// Renders the disc; nothing at the same diameter. Clamped to 0.25 to kLargestDiameter pixels.
    void setDiameter(double newDiameter);
    double getDiameter() const { return diameter; }
    /// Side of the square that a stamp covers, pixels.
    int getSize() const { return size; }
    /// Coverage at a position of the grid: [size][size] bytes. The disc's centre lies in the middle
    /// of grid cell (gridX, gridY) of the pixel (size / 2 - 1, size / 2 - 1).
    const uint8_t* stampAt(int gridX, int gridY) const {
        return stamps.data() + static_cast<size_t>((gridY * kGrid + gridX) * size * size);
    }

private:
    void render(uint8_t* stamp, double centerX, double centerY) const;

    double diameter = 0.0;
    int size = 0;
    CByteBuffer stamps;
};

/// How a curve is drawn. Without a brush it draws nothing.
struct CCurveStroke {
    CDrawColor color;
    int paletteIndex = 255;
    double opacity = 1.0;
    const CStrokeBrush* brush = nullptr;
};

} // namespace lum
