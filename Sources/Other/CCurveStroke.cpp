#include "Other/CCurveStroke.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kSmallestDiameter = 0.25; // pixels

/// Part of a pixel, whose middle is `distance` away, that a straight line through the centre covers
/// at right angles to that way. Stamps combine by the larger byte, so a disc's true area would make
/// thin lines too faint; this one gives a line its full width.
uint8_t coverageOf(double distance, double radius) {
    const double part = std::min(radius, distance + 0.5) - std::max(-radius, distance - 0.5);
    return static_cast<uint8_t>(std::lround(255.0 * std::clamp(part, 0.0, 1.0)));
}

} // namespace

void CStrokeBrush::setDiameter(double newDiameter) {
    // The comparison is also false for what is no number.
    newDiameter = newDiameter > kSmallestDiameter ? std::min(newDiameter, kLargestDiameter)
                                                  : kSmallestDiameter;
    if (newDiameter == diameter) return;
    diameter = newDiameter;
    // Even, with room for half a pixel beyond the disc and for the centre to move in its pixel.
    size = (static_cast<int>(std::ceil(diameter / 2.0)) + 1) * 2;
    stamps.resize(static_cast<size_t>(kGrid * kGrid * size * size));
    for (int y = 0; y < kGrid; y++)
        for (int x = 0; x < kGrid; x++)
            render(stamps.data() + (y * kGrid + x) * size * size, size / 2 - 1 + (x + 0.5) / kGrid,
                   size / 2 - 1 + (y + 0.5) / kGrid);
}

void CStrokeBrush::render(uint8_t* stamp, double centerX, double centerY) const {
    for (int y = 0; y < size; y++)
        for (int x = 0; x < size; x++)
            *stamp++ = coverageOf(std::hypot(x + 0.5 - centerX, y + 0.5 - centerY), diameter / 2.0);
}

} // namespace lum
