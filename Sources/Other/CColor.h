#pragma once

#include "Core/CStream.h"
#include "Other/CLinearBitmap.h"

namespace lum {

/// One palette colour as a ramp of 256 lightness steps: index 255 is the full tone, darker indices
/// darken it along CIE lightness. The table's address is stable for the object's lifetime, so that
/// a prepared drawing may keep it. Interface thread; workers read the table as plain bytes.
class CColor : public CLumMemAllocator {
public:
    CColor() = default;
    ~CColor();
    CColor(const CColor&) = delete;
    CColor& operator=(const CColor&) = delete;

    /// Computes the ramp. tone: 0xRRGGBB; contrast 0 to 1; brightness in L units.
    void compute(uint32_t tone, double contrast, double newOpacity, double brightness);

    double getOpacity() const { return opacity; }
    const CPaletteTable* getTable() const { return table; } // null before the first computation
    uint32_t getGeneration() const { return generation; }
    CDrawColor asDrawColor() const { return {opacity, table}; }

    CErrorResult save(COutputStream& stream) const;
    CErrorResult load(CInputStream& stream);

private:
    void makeTable();

    double opacity = 1.0;
    CPaletteTable* table = nullptr;
    uint32_t generation = 0;
};

} // namespace lum
