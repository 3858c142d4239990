#include "Other/CTextDrawing.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kGrid = 128.0;       // steps of a pixel that layout results are kept in
constexpr double kFarthest = 1 << 24; // pixels; nothing that far away is ever seen

} // namespace

int CTextDrawing::toPixel(double length) {
    const double kept = std::clamp(length, -kFarthest, kFarthest);
    return static_cast<int>(std::round(std::round(kept * kGrid) / kGrid));
}

void CTextDrawing::clear() {
    glyphs.clear();
    rows.clear();
}

void CTextDrawing::prepare(const CTextWrapper& wrapper, const CTextPaint& paint) {
    clear();
    for (const CTextLine* line : wrapper.getLines()) {
        const bool isDisabled = wrapper.getParagraph(line->paragraphIndex).isNotAvailable;
        prepareLine(*line, wrapper.getMetrics().scale, paint,
                    isDisabled ? paint.opacity * paint.disabledOpacity : paint.opacity);
    }
}

void CTextDrawing::prepareLine(const CTextLine& line, double scale, const CTextPaint& paint,
                               double opacity) {
    CRow row{INT32_MAX, INT32_MIN, 0};
    double x = line.shiftX;
    for (const CTextCharacter& character : line.characters) {
        const double y = line.startY + line.baselineOffset + character.offsetY;
        addCharacter(character, toPixel(x), toPixel(y), scale,
                     paint.colors[static_cast<size_t>(character.color)], opacity, row);
        x += character.advance + (character.isSpace ? line.spaceExtra : 0.0);
    }
    row.glyphEnd = glyphs.size();
    rows.push_back(row);
}

void CTextDrawing::addCharacter(const CTextCharacter& character, int x, int y, double scale,
                                const CDrawColor& color, double opacity, CRow& row) {
    for (const auto& layer : character.image->layers) {
        if (layer->width <= 0 || layer->height <= 0) continue; // a space
        const CImagePlacement placement = CImagePlacement::prepare(*layer, scale, color, opacity);
        if (!placement.data || placement.fixedOpacity == 0) continue;
        row.top = std::min(row.top, y + placement.offsetY);
        row.bottom = std::max(row.bottom, y + placement.offsetY + placement.height);
        glyphs.push_back({placement, x, y});
    }
}

void CTextDrawing::draw(CLinearBitmap& target, int originX, int originY,
                        const CPixelRect& clip) const {
    size_t glyph = 0;
    for (const CRow& row : rows) {
        const bool isSeen = row.top < row.bottom && originY + row.top < clip.bottom &&
                            originY + row.bottom > clip.top;
        for (; isSeen && glyph < row.glyphEnd; glyph++) {
            const CGlyph& drawn = glyphs[glyph];
            target.drawImage(drawn.placement, originX + drawn.x, originY + drawn.y, clip);
        }
        glyph = row.glyphEnd;
    }
}

} // namespace lum
