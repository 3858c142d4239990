#pragma once

#include "Other/CImageSet.h"

namespace lum {

/// A bitmap font: an image set whose image index is the code point, and four metrics. Loaded once
/// by its owner and read-only afterwards; any thread may read it.
class CFont : public CImageSet {
public:
    uint32_t getTypeCode() const override;
    /// Replaces the font. Another version than 1 gives an empty font and no failure.
    /// Error: a stream that ends early; metrics that no text can be laid out with.
    CErrorResult load(CPosInputStream& stream) override;
    CErrorResult save(COutputStream& stream) override;

    void clear();
    /// The glyph's picture, null for a control character or one that the font does not have.
    const CImage* getGlyph(char16_t code) const;

    // Interface units: pixels at a visual scale of 1.
    double ascent = 0.0;    // baseline to the top of a line
    double descent = 0.0;   // baseline to its bottom
    double lineGap = 0.0;   // carried by the file, read by no layout
    double capHeight = 0.0; // of capitals; a superscript is raised by half of it
};

} // namespace lum
