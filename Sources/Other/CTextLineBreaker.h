#pragma once

#include "Other/CTextLine.h"

#include <array>

namespace lum {

enum class TextAlign : uint8_t { Left, Right, Centre, Justify };

/// "left", "right" and "justify"; any other text is centre.
TextAlign textAlignFromText(const CString& text);

/// What the lines of a paragraph depend on besides its text. Lengths are pixels at the visual
/// scale.
struct CTextMetrics {
    std::array<const CFont*, kFontStyleCount> fonts{}; // by FontStyle; null: no glyph is drawn
    double scale = 1.0;                                // the visual scale
    double ascent = 0.0;
    double descent = 0.0;
    double capHeight = 0.0;
    double margin = 0.0; // above and below each line
    double leftBorder = 0.0;
    double rightBorder = 0.0;
    double width = 0.0; // of the control, borders included
    bool isWrapped = false;
    TextAlign align = TextAlign::Left;

    double available() const { return width - leftBorder - rightBorder; }
    double textHeight() const { return ascent + descent; }
};

/// Turns the tokens of a paragraph into lines: places characters from left to right, breaks where
/// the width is used up, and aligns each line. One paragraph per object; interface thread.
class CTextLineBreaker {
public:
    /// isSeparator: the paragraph is a separator line, which is as high as its rule.
    CTextLineBreaker(const CTextMetrics& given, bool isSeparator)
        : metrics(given), isSeparatorText(isSeparator) {}

    /// Appends the lines of the tokens, which end with a break.
    void breakLines(const CVector<CTextToken>& tokens, CTextLines& lines);

private:
    /// What a line is up to some token.
    struct CProgress {
        double penX = 0.0;
        double measured = 0.0; // up to the end of the last glyph
        double height = 0.0;
        double baselineOffset = 0.0;
        int spaces = 0;
        size_t characters = 0;
        size_t token = 0; // the next one
    };

    void startLine(CTextLines& lines, size_t token, int sourceIndex);
    void endLine(bool isWrap);
    /// Adds what a token stands for; false when the line has to end at the saved space.
    bool addToken(const CTextToken& token, bool isLast);
    CTextCharacter characterOf(const CTextToken& token, bool isLast) const;
    double glyphAdvance(const CImage& image, bool isLast) const;
    void raiseLine(const CTextCharacter& character);
    double offsetYOf(const CTextToken& token, const CImage& image) const;
    double imageHeight(const CImage& image) const;

    const CTextMetrics& metrics;
    bool isSeparatorText;
    CTextLine* line = nullptr;
    CProgress now;
    CProgress lastSpace; // in front of the space
    bool hasSpace = false;
};

} // namespace lum
