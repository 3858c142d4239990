#include "Other/CTextWrapper.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr const char* kNotAvailable = "[N/A]";
constexpr size_t kNotAvailableLength = 5; // characters
constexpr char16_t kPasswordCharacter = u'*';
// A line as high as a whole number of pixels must not take one more for a last digit of the scale.
constexpr double kAscentFactor = 0.9998;

/// The inputs that no line break depends on, made equal.
CTextLayoutInputs withoutPlacement(CTextLayoutInputs inputs) {
    inputs.height = 0.0;
    inputs.paragraphSpacing = 0.0;
    inputs.isTopAligned = true;
    return inputs;
}

} // namespace

// ---- Inputs

CErrorResult CTextWrapper::setFontObject(const CFontObject* object) {
    if (!object)
        return LUM_FAIL("@lumstr_CTextWrapper_setFontObject_EmptyFontObject Font object is empty.");
    const auto previous = fonts;
    const CFont* regular = object->getFont(FontStyle::Regular);
    for (size_t i = 0; i < fonts.size(); i++) {
        const CFont* font = object->getFont(static_cast<FontStyle>(i));
        fonts[i] = font ? font : regular;
    }
    if (fonts != previous) markAll();
    return {};
}

void CTextWrapper::setImageSource(CTextImageSource* source) {
    if (images == source) return;
    images = source;
    markAll();
}

void CTextWrapper::setInputs(const CTextLayoutInputs& changed) {
    if (inputs == changed) return;
    if (withoutPlacement(inputs) == withoutPlacement(changed))
        arePositionsChanged = true;
    else
        markAll();
    const bool isOtherText = inputs.isPassword != changed.isPassword ||
                             inputs.maxParagraphLength != changed.maxParagraphLength ||
                             !(inputs.activeParagraphPrefix == changed.activeParagraphPrefix);
    inputs = changed;
    if (!isOtherText) return;
    for (int i = 0; i < paragraphs.ssize(); i++)
        updateDisplayText(*paragraphs[i], i == activeParagraph);
}

void CTextWrapper::markAll() {
    areMetricsChanged = true;
}

void CTextWrapper::markParagraph(int index) {
    if (!isInside(index)) return;
    paragraphs[index]->isDirty = true;
    updateDisplayText(*paragraphs[index], index == activeParagraph);
}

// ---- Paragraphs

void CTextWrapper::addParagraph(const CString& text) {
    insertParagraph(paragraphs.ssize(), text);
}

void CTextWrapper::insertParagraph(int index, const CString& text) {
    if (index < 0 || index > paragraphs.ssize()) return;
    auto paragraph = std::make_unique<CTextParagraph>();
    paragraph->text = text;
    paragraphs.insert(static_cast<size_t>(index), std::move(paragraph));
    if (activeParagraph >= index) activeParagraph++;
    markParagraph(index);
    renumberLines(index + 1);
}

void CTextWrapper::setParagraphText(int index, const CString& text) {
    if (!isInside(index) || paragraphs[index]->text == text) return;
    paragraphs[index]->text = text;
    markParagraph(index);
}

void CTextWrapper::removeParagraph(int index) {
    if (!isInside(index)) return;
    lineIndex.clear(); // before the lines go
    paragraphs.erase(static_cast<size_t>(index));
    if (activeParagraph == index) activeParagraph = -1;
    if (activeParagraph > index) activeParagraph--;
    renumberLines(index);
    arePositionsChanged = true;
}

void CTextWrapper::clear() {
    lineIndex.clear();
    paragraphs.clear();
    activeParagraph = -1;
    arePositionsChanged = true;
}

void CTextWrapper::renumberLines(int from) {
    for (int i = from; i < paragraphs.ssize(); i++)
        for (auto& line : paragraphs[i]->lines) line->paragraphIndex = i;
}

void CTextWrapper::setActiveParagraph(int index) {
    if (activeParagraph == index) return;
    const int previous = std::exchange(activeParagraph, index);
    if (inputs.activeParagraphPrefix.empty()) return;
    markParagraph(previous);
    markParagraph(index);
}

// A password is shown as it is long, whatever it begins with.
void CTextWrapper::updateDisplayText(CTextParagraph& paragraph, bool isActive) const {
    paragraph.isNotAvailable = !inputs.isPassword && paragraph.text.startsWith(kNotAvailable);
    CString shown =
        paragraph.isNotAvailable ? paragraph.text.substring(kNotAvailableLength) : paragraph.text;
    if (inputs.maxParagraphLength > 0) shown = shown.substring(0, inputs.maxParagraphLength);
    if (inputs.isPassword) {
        CString stars;
        for (size_t i = 0; i < shown.length(); i++) stars.append(kPasswordCharacter);
        shown = std::move(stars);
    }
    paragraph.prefixLength = isActive ? static_cast<int>(inputs.activeParagraphPrefix.length()) : 0;
    paragraph.displayText = isActive ? inputs.activeParagraphPrefix + shown : std::move(shown);
}

// ---- Layout

bool CTextWrapper::layout() {
    if (areMetricsChanged) updateMetrics();
    bool isChanged = arePositionsChanged || areMetricsChanged;
    for (int i = 0; i < paragraphs.ssize(); i++) {
        CTextParagraph& paragraph = *paragraphs[i];
        if (!areMetricsChanged && !paragraph.isDirty) continue;
        layoutParagraph(paragraph, i);
        isChanged = true;
    }
    areMetricsChanged = false;
    if (isChanged) placeLines();
    return isChanged;
}

CTextWrapper::CSize CTextWrapper::getSize() {
    layout();
    return {totalHeight, totalWidth};
}

void CTextWrapper::updateMetrics() {
    const CFont* font = fonts[static_cast<size_t>(FontStyle::Regular)];
    metrics.fonts = fonts;
    metrics.scale = inputs.scale;
    metrics.ascent = font ? font->ascent * kAscentFactor * inputs.scale : 0.0;
    metrics.descent = font ? font->descent * inputs.scale : 0.0;
    metrics.capHeight = font ? font->capHeight * inputs.scale : 0.0;
    metrics.margin = std::round(inputs.lineHeightModifier * 0.5 * inputs.scale);
    metrics.leftBorder = inputs.leftBorder;
    metrics.rightBorder = inputs.rightBorder;
    metrics.width = inputs.width;
    metrics.isWrapped = inputs.isWrapped;
    metrics.align = inputs.align;
}

void CTextWrapper::layoutParagraph(CTextParagraph& paragraph, int index) {
    lineIndex.clear(); // it points into the lines
    paragraph.isDirty = false;
    paragraph.lines.clear();
    paragraph.actions.clear();
    if (inputs.isWrapped && metrics.available() < 1.0) return;
    tokens.clear();
    scanTextMarkup(paragraph.displayText, images, paragraph.actions, tokens);
    CTextLineBreaker breaker(metrics, paragraph.displayText == kSeparatorText);
    breaker.breakLines(tokens, paragraph.lines);
    for (auto& line : paragraph.lines) line->paragraphIndex = index;
}

// Places all lines, one below the other, and links them.
void CTextWrapper::placeLines() {
    arePositionsChanged = false;
    lineIndex.clear();
    totalWidth = 0.0;
    double y = 0.0;
    CTextLine* previous = nullptr;
    for (int i = 0; i < paragraphs.ssize(); i++) {
        if (i > 0) y += inputs.paragraphSpacing * inputs.scale;
        placeParagraph(*paragraphs[i], y, previous);
    }
    totalHeight = lineIndex.empty() ? metrics.textHeight() : y;
    if (inputs.isTopAligned) return;
    const double shift = (inputs.height - totalHeight) / 2.0;
    for (auto& paragraph : paragraphs) {
        paragraph->startY += shift;
        for (auto& line : paragraph->lines) line->startY += shift;
    }
}

void CTextWrapper::placeParagraph(CTextParagraph& paragraph, double& y, CTextLine*& previous) {
    paragraph.startY = y;
    for (auto& line : paragraph.lines) {
        const double height = line->naturalHeight + 2.0 * metrics.margin;
        line->height = std::ceil(height);
        line->startY = y + (line->height - height) / 2.0;
        line->next = nullptr;
        if (previous) previous->next = line.get();
        previous = line.get();
        lineIndex.push_back(line.get());
        totalWidth = std::max(totalWidth, line->width);
        y += line->height;
    }
    paragraph.height = y - paragraph.startY;
}

// ---- Queries

int CTextWrapper::firstLineBelow(double y) const {
    const auto found =
        std::partition_point(lineIndex.begin(), lineIndex.end(), [y](const CTextLine* line) {
            return line->startY + line->height <= y;
        });
    return static_cast<int>(found - lineIndex.begin());
}

const CTextLine* CTextWrapper::lineAt(double y) const {
    const int index = firstLineBelow(y);
    const bool isAt = index < lineIndex.ssize() && lineIndex[index]->startY <= y;
    return isAt ? lineIndex[index] : nullptr;
}

} // namespace lum
