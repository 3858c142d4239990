#include "Other/CTextMarkup.h"

namespace lum {

namespace {

constexpr char16_t kNewline = 10;
constexpr const char* kSeparatorSet = "is.button";
constexpr const char* kSeparatorRange = "HR";
constexpr const char* kImageTag = "[IMG=";
constexpr size_t kImageTagLength = 5; // characters

/// What the tags up to a place have switched on.
struct CTextStyle {
    bool isBold = false;
    bool isItalic = false;
    bool isFirstColor = false;
    bool isSecondColor = false;
    bool isSuperscript = false;

    FontStyle fontStyle() const {
        if (isSuperscript) return FontStyle::Superscript;
        if (isBold) return isItalic ? FontStyle::BoldItalic : FontStyle::Bold;
        return isItalic ? FontStyle::Italic : FontStyle::Regular;
    }
    TextColor color() const {
        if (isSecondColor) return TextColor::Second;
        return isFirstColor ? TextColor::First : TextColor::Text;
    }
};

/// A tag that switches a style on or off.
struct CStyleTag {
    const char* text;
    bool CTextStyle::*member;
    bool value;
};

constexpr CStyleTag kStyleTags[] = {
    {"[B]", &CTextStyle::isBold, true},          {"[/B]", &CTextStyle::isBold, false},
    {"[I]", &CTextStyle::isItalic, true},        {"[/I]", &CTextStyle::isItalic, false},
    {"[C1]", &CTextStyle::isFirstColor, true},   {"[/C1]", &CTextStyle::isFirstColor, false},
    {"[C2]", &CTextStyle::isSecondColor, true},  {"[/C2]", &CTextStyle::isSecondColor, false},
    {"[SUP]", &CTextStyle::isSuperscript, true}, {"[/SUP]", &CTextStyle::isSuperscript, false},
};
constexpr const char* kBreakTag = "[BR]";

/// Length of `tag` when the text has it at `position`, else 0.
size_t matchTag(const CString& text, size_t position, const char* tag) {
    size_t length = 0;
    while (tag[length]) {
        const size_t place = position + length;
        if (place >= text.length() || text.at(place) != static_cast<unsigned char>(tag[length]))
            return 0;
        length++;
    }
    return length;
}

/// The parts of an image tag.
struct CImageTag {
    CString setPath;
    CString range;
    CString action;
    bool hasAction = false;
    size_t length = 0; // of the whole tag, 0 when it is not closed or has no "#"
};

// The action's ":" is sought behind the "#", so that a path may have "::" in it.
CImageTag parseImageTag(const CString& text, size_t position, size_t close) {
    CImageTag tag;
    const size_t start = position + kImageTagLength;
    const CString inner = text.substring(start, static_cast<int>(close - start));
    const int mark = inner.find(u'#');
    if (mark < 0) return tag;
    const size_t rangeStart = static_cast<size_t>(mark) + 1;
    const int colon = inner.find(u':', rangeStart);
    tag.hasAction = colon >= 0;
    tag.setPath = inner.substring(0, mark);
    tag.range =
        inner.substring(rangeStart, tag.hasAction ? colon - static_cast<int>(rangeStart) : -1);
    if (tag.hasAction) tag.action = inner.substring(static_cast<size_t>(colon) + 1);
    tag.length = close + 1 - position;
    return tag;
}

/// The places of closing brackets, for a walk from left to right: each bracket is found once.
class CCloseFinder {
public:
    explicit CCloseFinder(const CString& searched) : text(searched) {}
    /// Place of the first "]" at or behind `position`, -1 when there is none.
    int find(size_t position) {
        if (close >= 0 && static_cast<size_t>(close) < position) close = text.find(u']', position);
        return close;
    }

private:
    const CString& text;
    int close = text.find(u']');
};

/// One walk through a text. `Images` tells what becomes of an image tag: true takes it as one.
template <class Glyph, class Break, class Image>
void walkMarkup(const CString& text, Glyph&& onGlyph, Break&& onBreak, Image&& onImage) {
    CTextStyle style;
    CCloseFinder closes(text);
    const auto takeTag = [&](size_t position) -> size_t {
        for (const CStyleTag& tag : kStyleTags)
            if (const size_t length = matchTag(text, position, tag.text)) {
                style.*tag.member = tag.value;
                return length;
            }
        if (const size_t length = matchTag(text, position, kBreakTag)) {
            onBreak(position);
            return length;
        }
        if (!matchTag(text, position, kImageTag)) return 0;
        const int close = closes.find(position);
        const CImageTag tag =
            close < 0 ? CImageTag() : parseImageTag(text, position, static_cast<size_t>(close));
        return onImage(tag, position, style) ? tag.length : 0;
    };
    for (size_t position = 0; position < text.length();) {
        const char16_t code = text.at(position);
        const size_t tagLength = code == u'[' ? takeTag(position) : 0;
        if (tagLength == 0 && code == kNewline) onBreak(position);
        if (tagLength == 0 && code != kNewline) onGlyph(code, position, style);
        position += tagLength > 0 ? tagLength : 1;
    }
    onBreak(text.length());
}

int enterAction(CVector<CString>& actions, const CString& action) {
    for (int i = 0; i < actions.ssize(); i++)
        if (actions[i] == action) return i;
    actions.push_back(action);
    return actions.ssize() - 1;
}

} // namespace

void scanTextMarkup(const CString& text, CTextImageSource* images, CVector<CString>& actions,
                    CVector<CTextToken>& tokens) {
    const auto add = [&tokens](CTextToken::Kind kind, size_t position,
                               const CTextStyle& style) -> CTextToken& {
        CTextToken& token = tokens.emplace_back();
        token.kind = kind;
        token.style = style.fontStyle();
        token.color = style.color();
        token.sourceIndex = static_cast<int>(position);
        return token;
    };
    walkMarkup(
        text,
        [&](char16_t code, size_t position, const CTextStyle& style) {
            add(CTextToken::Kind::Glyph, position, style).code = code;
        },
        [&](size_t position) { add(CTextToken::Kind::Break, position, {}); },
        [&](const CImageTag& tag, size_t position, const CTextStyle& style) {
            const CImage* image =
                tag.length > 0 && images ? images->findTextImage(tag.setPath, tag.range) : nullptr;
            if (!image || image->layers.empty()) return false;
            CTextToken& token = add(CTextToken::Kind::Image, position, style);
            token.image = image;
            token.isSeparator = tag.setPath == kSeparatorSet && tag.range == kSeparatorRange;
            if (tag.hasAction) token.linkIndex = enterAction(actions, tag.action);
            return true;
        });
}

CString textWithoutMarkup(const CString& text) {
    CString plain;
    walkMarkup(
        text, [&](char16_t code, size_t, const CTextStyle&) { plain.append(code); },
        [&](size_t position) {
            if (position < text.length()) plain.append(kNewline);
        },
        [](const CImageTag& tag, size_t, const CTextStyle&) { return tag.length > 0; });
    return plain;
}

bool hasBrokenImageTag(const CString& text) {
    bool isBroken = false;
    walkMarkup(
        text, [](char16_t, size_t, const CTextStyle&) {}, [](size_t) {},
        [&](const CImageTag& tag, size_t, const CTextStyle&) {
            if (tag.length == 0) isBroken = true;
            return tag.length > 0;
        });
    return isBroken;
}

} // namespace lum
