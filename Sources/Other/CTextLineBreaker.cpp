#include "Other/CTextLineBreaker.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kLongestAdvance = 32767.0; // pixels; more is damage of a font
constexpr char16_t kSpace = 32;

/// A length out of a data file as pixels; 0 for one that cannot be meant.
double asPixels(double length) {
    return std::fabs(length) <= kLongestAdvance ? length : 0.0;
}

const CImageLayerData& dataOf(const CImage& image) {
    return *image.layers.front();
}

} // namespace

TextAlign textAlignFromText(const CString& text) {
    if (text == "left") return TextAlign::Left;
    if (text == "right") return TextAlign::Right;
    if (text == "justify") return TextAlign::Justify;
    return TextAlign::Centre;
}

void CTextLineBreaker::breakLines(const CVector<CTextToken>& tokens, CTextLines& lines) {
    if (tokens.empty()) return;
    startLine(lines, 0, tokens.front().sourceIndex);
    while (now.token < tokens.size()) {
        const CTextToken& token = tokens[now.token];
        const bool isBreak = token.kind == CTextToken::Kind::Break;
        const bool isLast = !isBreak && tokens[now.token + 1].kind == CTextToken::Kind::Break;
        if (!isBreak && addToken(token, isLast)) {
            now.token++;
            continue;
        }
        if (!isBreak) now = lastSpace; // the line ends in front of the space, which is not drawn
        const size_t next = now.token + 1;
        endLine(!isBreak);
        if (next < tokens.size()) startLine(lines, next, tokens[next].sourceIndex);
        now.token = next;
    }
}

void CTextLineBreaker::startLine(CTextLines& lines, size_t token, int sourceIndex) {
    line = lines.push_back(std::make_unique<CTextLine>()).get();
    line->startIndex = sourceIndex;
    now = {};
    now.token = token;
    now.height = isSeparatorText ? 0.0 : metrics.textHeight();
    hasSpace = false;
}

bool CTextLineBreaker::addToken(const CTextToken& token, bool isLast) {
    const CTextCharacter character = characterOf(token, isLast);
    if (!character.image) return true;
    if (character.isSpace && now.characters > 0) {
        lastSpace = now;
        hasSpace = true;
    }
    now.penX += character.advance;
    if (metrics.isWrapped && now.penX > metrics.available() && hasSpace) return false;
    if (!character.isGlyph) raiseLine(character);
    if (character.isGlyph) now.measured = now.penX + 1.0;
    if (character.isSpace) now.spaces++;
    now.characters++;
    line->characters.push_back(character);
    return true;
}

CTextCharacter CTextLineBreaker::characterOf(const CTextToken& token, bool isLast) const {
    CTextCharacter out;
    out.color = token.color;
    out.sourceIndex = token.sourceIndex;
    if (token.kind == CTextToken::Kind::Glyph) {
        const CFont* font = metrics.fonts[static_cast<size_t>(token.style)];
        const CImage* glyph = font ? font->getGlyph(token.code) : nullptr;
        if (!glyph || glyph->layers.empty()) return out;
        out.image = glyph;
        out.isSpace = token.code == kSpace;
        out.advance = glyphAdvance(*glyph, isLast);
    } else {
        const CImageLayerData& data = dataOf(*token.image);
        out.image = token.image;
        out.isGlyph = false;
        out.isSeparator = token.isSeparator;
        out.linkIndex = token.linkIndex;
        out.isSelectable = token.linkIndex < 0;
        const double advance = (data.width + data.extraWidth) * metrics.scale * data.invScale;
        out.advance = token.isSeparator ? 0.0 : std::trunc(asPixels(advance));
    }
    out.offsetY = offsetYOf(token, *out.image);
    return out;
}

// Advances are whole pixels, so that all characters of a line sit on the pixel grid. The last one
// is rounded to the nearest instead of down; else the line's width would come out short.
double CTextLineBreaker::glyphAdvance(const CImage& image, bool isLast) const {
    const CImageLayerData& data = dataOf(image);
    const double advance = asPixels(data.advance * metrics.scale * data.invScale);
    return isLast ? std::round(advance) : std::floor(advance);
}

double CTextLineBreaker::imageHeight(const CImage& image) const {
    const CImageLayerData& data = dataOf(image);
    return asPixels((data.height + data.extraHeight) * metrics.scale * data.invScale);
}

double CTextLineBreaker::offsetYOf(const CTextToken& token, const CImage& image) const {
    if (token.isSeparator) return metrics.margin;
    if (token.kind == CTextToken::Kind::Image)
        return (metrics.textHeight() - imageHeight(image)) / 2.0 + metrics.margin;
    const double baseline =
        std::ceil(metrics.textHeight()) - std::ceil(metrics.descent) + metrics.margin;
    return token.style == FontStyle::Superscript ? baseline - 0.5 * metrics.capHeight : baseline;
}

// An image taller than the line centres on the capitals. A rule has no text to stand beside.
void CTextLineBreaker::raiseLine(const CTextCharacter& character) {
    const double height = imageHeight(*character.image);
    if (height <= now.height) return;
    now.height = height;
    if (!character.isSeparator)
        now.baselineOffset = (metrics.capHeight + height) / 2.0 - metrics.ascent;
}

void CTextLineBreaker::endLine(bool isWrap) {
    line->characters.resize(now.characters);
    line->naturalHeight = now.height;
    line->height = now.height;
    line->baselineOffset = now.baselineOffset;
    line->width = std::max(now.measured, now.penX);
    if (isSeparatorText) return;
    switch (metrics.align) {
    case TextAlign::Left:
        line->shiftX = metrics.leftBorder;
        break;
    case TextAlign::Right:
        line->shiftX = metrics.width - 2.0 * metrics.scale - metrics.rightBorder - line->width;
        break;
    case TextAlign::Centre:
        line->shiftX = (metrics.width - line->width) / 2.0;
        break;
    case TextAlign::Justify:
        line->shiftX = metrics.leftBorder;
        if (isWrap && now.spaces > 0)
            line->spaceExtra = (metrics.available() - line->width) / now.spaces;
        break;
    }
}

} // namespace lum
