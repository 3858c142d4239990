#pragma once

#include "Core/CString.h"
#include "Other/CFontObject.h"

namespace lum {

class CObject;

// Inline mark-up of text: [B] [/B] [I] [/I] [C1] [/C1] [C2] [/C2] [SUP] [/SUP] [BR] and
// [IMG=set#range:action]. What looks like a tag and is none is text.

/// The whole text of a paragraph that is a separator line.
constexpr const char* kSeparatorText = "[IMG=is.button#HR:Action]";

/// Colours of characters: indices into what the owner draws with.
enum class TextColor : uint8_t { Text, First, Second };
constexpr int kTextColorCount = 3;

/// What one step of a text is: a glyph, an inline image or a line break.
struct CTextToken {
    enum class Kind : uint8_t { Glyph, Image, Break };
    Kind kind = Kind::Glyph;
    FontStyle style = FontStyle::Regular;
    TextColor color = TextColor::Text;
    bool isSeparator = false; // the image is the rule of a separator line
    char16_t code = 0;        // of a glyph
    int linkIndex = -1;       // into the actions, of an image that has one
    int sourceIndex = 0;      // where it starts in the text
    const CImage* image = nullptr;
};

/// Finds the images that text names. Owned by whoever owns the text.
class CTextImageSource : public virtual CCheckedObject {
public:
    /// The first image of a range of a set, null when the path finds nothing.
    virtual const CImage* findTextImage(const CString& setPath, const CString& range) = 0;
};

/// Reads a text into tokens, the break at its end included. images may be null: then no image tag
/// is one. actions: takes the actions of image tags, each once.
void scanTextMarkup(const CString& text, CTextImageSource* images, CVector<CString>& actions,
                    CVector<CTextToken>& tokens);
/// The text without its tags; [BR] becomes a line feed.
CString textWithoutMarkup(const CString& text);
/// True when an image tag lacks its "#" or its closing bracket.
bool hasBrokenImageTag(const CString& text);

} // namespace lum
