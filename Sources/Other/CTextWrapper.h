#pragma once

#include "Other/CTextLineBreaker.h"

namespace lum {

/// What a text is laid out for. Lengths are window pixels unless said otherwise.
struct CTextLayoutInputs {
    double scale = 1.0; // visual scale of the window
    double leftBorder = 0.0;
    double rightBorder = 0.0;
    double width = 0.0; // of the control, borders included
    double height = 0.0;
    bool isWrapped = false;
    bool isPassword = false;         // each character shows as "*"
    double lineHeightModifier = 0.0; // interface units added to each line
    double paragraphSpacing = 0.0;   // interface units between paragraphs
    TextAlign align = TextAlign::Left;
    bool isTopAligned = true;   // else centred
    int maxParagraphLength = 0; // characters, 0 for no limit
    CString activeParagraphPrefix;

    friend bool operator==(const CTextLayoutInputs&, const CTextLayoutInputs&) = default;
};

/// A paragraph and what its layout has made of it.
struct CTextParagraph : public CLumMemAllocator {
    CString text;         // as given
    CString displayText;  // what is laid out
    int prefixLength = 0; // characters of the display text in front of the text's own
    bool isNotAvailable = false;
    bool isDirty = true;
    CVector<CString> actions; // of inline images
    CTextLines lines;
    double startY = 0.0;
    double height = 0.0;
};

/// Lays out paragraphs with inline mark-up as lines of placed characters. Owned by a view;
/// interface thread, but for the lines, which a frame's workers may read between two layouts.
/// Nothing is laid out when text or inputs are set; layout() redoes what they have touched.
class CTextWrapper : public CLumMemAllocator {
public:
    /// Takes a family; a style that it lacks shows as regular. The object has to outlive the
    /// wrapper or the next call. Error: a null object.
    CErrorResult setFontObject(const CFontObject* object);
    /// Where image tags are looked up; null: nowhere.
    void setImageSource(CTextImageSource* source);
    void setInputs(const CTextLayoutInputs& changed);
    const CTextLayoutInputs& getInputs() const { return inputs; }

    // Paragraphs. An index out of range does nothing.
    void addParagraph(const CString& text);
    void insertParagraph(int index, const CString& text);
    void setParagraphText(int index, const CString& text);
    void removeParagraph(int index);
    void clear();
    /// The paragraph that shows the prefix, -1 for none.
    void setActiveParagraph(int index);
    int getActiveParagraph() const { return activeParagraph; }
    int getParagraphCount() const { return paragraphs.ssize(); }
    const CTextParagraph& getParagraph(int index) const { return *paragraphs[index]; }

    /// Brings everything up to date; true when something has changed.
    bool layout();
    struct CSize {
        double height;
        double width;
    };
    /// Runs the layout; window pixels.
    CSize getSize();
    const CTextMetrics& getMetrics() const { return metrics; }

    // Lines of all paragraphs, from top to bottom; as the last layout left them.
    const CVector<const CTextLine*, 0>& getLines() const { return lineIndex; }
    /// Position in getLines() of the first line that reaches below y; the count when none does.
    int firstLineBelow(double y) const;
    /// The line at y, null above the first and below the last and in a gap.
    const CTextLine* lineAt(double y) const;

private:
    bool isInside(int index) const { return index >= 0 && index < paragraphs.ssize(); }
    void markAll();
    void markParagraph(int index);
    void renumberLines(int from);
    void updateMetrics();
    void updateDisplayText(CTextParagraph& paragraph, bool isActive) const;
    void layoutParagraph(CTextParagraph& paragraph, int index);
    void placeLines();
    void placeParagraph(CTextParagraph& paragraph, double& y, CTextLine*& previous);

    std::array<const CFont*, kFontStyleCount> fonts{};
    CTextImageSource* images = nullptr;
    CTextLayoutInputs inputs;
    CTextMetrics metrics;
    CVector<std::unique_ptr<CTextParagraph>, 1> paragraphs;
    int activeParagraph = -1;
    bool areMetricsChanged = true;          // all paragraphs are laid out again
    bool arePositionsChanged = true;        // all lines are placed again
    CVector<const CTextLine*, 0> lineIndex; // by start y
    CVector<CTextToken> tokens;             // of the paragraph being laid out
    double totalWidth = 0.0;
    double totalHeight = 0.0;
};

} // namespace lum
