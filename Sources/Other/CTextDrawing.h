#pragma once

#include "Other/CTextWrapper.h"

namespace lum {

/// What a text is drawn with: a colour for each TextColor, and opacities.
struct CTextPaint {
    std::array<CDrawColor, kTextColorCount> colors;
    double opacity = 1.0;
    double disabledOpacity = 1.0; // of paragraphs that are not available, besides
};

/// A text ready to be drawn: every glyph at its pixel, in the form for the scale. Prepared when the
/// text, its layout or its colours change, on one thread, and then drawn by any number of threads.
class CTextDrawing : public CLumMemAllocator {
public:
    /// Takes over the wrapper's layout, which has to be up to date.
    void prepare(const CTextWrapper& wrapper, const CTextPaint& paint);
    /// Draws what lies inside the clip rectangle. originX, originY: place of the text's corner.
    void draw(CLinearBitmap& target, int originX, int originY, const CPixelRect& clip) const;
    void clear();
    size_t getGlyphCount() const { return glyphs.size(); }

    /// Where a length falls on the pixel grid.
    static int toPixel(double length);

private:
    struct CGlyph {
        CImagePlacement placement;
        int x;
        int y;
    };
    struct CRow {
        int top; // pixels that the glyphs of a line reach
        int bottom;
        size_t glyphEnd; // behind the last glyph of the line
    };
    void prepareLine(const CTextLine& line, double scale, const CTextPaint& paint, double opacity);
    void addCharacter(const CTextCharacter& character, int x, int y, double scale,
                      const CDrawColor& color, double opacity, CRow& row);

    CVector<CGlyph, 0> glyphs;
    CVector<CRow, 0> rows; // one a line
};

} // namespace lum
