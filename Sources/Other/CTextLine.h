#pragma once

#include "Other/CTextMarkup.h"

namespace lum {

/// One placed character of a line. Lengths are pixels at the visual scale.
struct CTextCharacter {
    TextColor color = TextColor::Text;
    const CImage* image = nullptr;
    double advance = 0.0;
    int linkIndex = -1;       // into the paragraph's actions, -1 for none
    bool isSelectable = true; // false for an image with an action
    bool isGlyph = true;      // false for an inline image
    bool isSeparator = false; // the rule of a separator line
    bool isSpace = false;
    int sourceIndex = 0;  // in the paragraph's display text
    double offsetY = 0.0; // from the top of the line to the baseline (glyph) or top (image)
};

/// One line of a paragraph. Lengths are pixels at the visual scale.
struct CTextLine : public CLumMemAllocator {
    CVector<CTextCharacter, 0> characters;
    double height = 0.0;        // with the margin of the line, whole
    double naturalHeight = 0.0; // before that
    double startY = 0.0;
    int startIndex = 0; // in the paragraph's display text
    int paragraphIndex = 0;
    double shiftX = 0.0;         // from the alignment
    double baselineOffset = 0.0; // of all characters, for an image that is taller than the text
    double width = 0.0;
    double spaceExtra = 0.0; // behind each space of a justified line
    const CTextLine* next = nullptr;

    /// Left edge of a character; of the one behind the last: the right end.
    double leftOf(size_t index) const {
        double x = shiftX;
        for (size_t i = 0; i < index && i < characters.size(); i++)
            x += characters[i].advance + (characters[i].isSpace ? spaceExtra : 0.0);
        return x;
    }
};

using CTextLines = CVector<std::unique_ptr<CTextLine>, 1>;

} // namespace lum
