#include "UI/CCaption.h"

#include "Core/CLog.h"
#include "Other/CFontObject.h"

#include <cmath>

namespace lum {

namespace {

constexpr CAttrRow<CCaption> kAttrs[] = {
    {"font-name", &CCaption::attrFontName},        // path of a font family
    {"title", &CCaption::attrTitle},               // the text, with mark-up
    {"text-color", &CCaption::attrTextColor},      // colour slots, by default "Text"
    {"shadow-color", &CCaption::attrTextColor},    // colour slot of the shadow
    {"text-alignment", &CCaption::attrTextLook},   // "left", "right", "justify", else centre
    {"text-alignment-v", &CCaption::attrTextLook}, // "top", "bottom", else centre
    {"right-side-gap", &CCaption::attrTextLook},   // interface units behind the text
};

constexpr const char* kDefaultSlot = "Text";

} // namespace

void CCaption::fillClass(CClassInfo& info) {
    CView::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CCaption::initContent() {
    updateTextSlots();
    wrapper.setImageSource(&images);
    LUM_TRY(CView::initContent());
    if (!hasFont) LUM_TRY(findFont(getAttrString("font-name")));
    return nullptr;
}

CErrorResult CCaption::findFont(const CString& path) {
    if (path.empty())
        return LUM_FAIL("@lumstr_CCaption_findFont_Empty Attribute 'font-name' is empty");
    const auto* font = findAs<CFontObject>(path);
    if (!font) return LUM_FAIL("@lumstr_CCaption_findFont_NotFound Font '%1' not found.", path);
    LUM_TRY(wrapper.setFontObject(font));
    hasFont = true;
    updateCompactSize();
    requestPrepare();
    return nullptr;
}

CErrorResult CCaption::attrFontName(const CAttrEntry& value) {
    return findFont(value.text());
}

CErrorResult CCaption::attrTitle(const CAttrEntry& value) {
    const CString given = value.text();
    if (wrapper.getParagraphCount() > 0 && given == title) return nullptr;
    title = given;
    if (hasBrokenImageTag(title)) logFormat("Errors in caption: %s", title.toUtf8().c_str());
    wrapper.clear();
    wrapper.addParagraph(title);
    updateCompactSize();
    requestPrepare();
    LUM_TRY(fireEvent("title-changed", false));
    return nullptr;
}

CErrorResult CCaption::attrTextColor(const CAttrEntry&) {
    if (updateTextSlots()) requestPrepare();
    return nullptr;
}

CErrorResult CCaption::attrTextLook(const CAttrEntry&) {
    const CString alignV = getAttrString("text-alignment-v");
    const CTextPlace given{textAlignFromText(getAttrString("text-alignment")),
                           alignV == "top"      ? 0.0
                           : alignV == "bottom" ? 1.0
                                                : 0.5,
                           getAttrReal("right-side-gap")};
    if (given == textPlace) return nullptr;
    textPlace = given;
    updateCompactSize();
    requestPrepare();
    return nullptr;
}

void CCaption::onScaleChanged() {
    updateCompactSize();
    CView::onScaleChanged();
}

// The shadow's slot stands behind those of the text's colours. False: nothing has changed.
bool CCaption::updateTextSlots() {
    CString slots = getAttrString("text-color", kDefaultSlot);
    CVector<CString> names;
    slots.split(names, u'|', false);
    names.resize(kTextColorCount, names.empty() ? CString(kDefaultSlot) : names[0]);
    const CString shadow = getAttrString("shadow-color");
    const bool hadShadow = std::exchange(hasShadow, !shadow.empty());
    names.push_back(hasShadow ? shadow : names[0]);
    slots = names[0];
    for (size_t i = 1; i < names.size(); i++) slots.append("|").append(names[i]);
    return setTextSlots(slots) || hasShadow != hadShadow;
}

// ---- Layout

CTextLayoutInputs CCaption::inputsFor(double width, bool isWrapped) const {
    CTextLayoutInputs inputs;
    inputs.scale = window->scale();
    inputs.width = width;
    inputs.isWrapped = isWrapped;
    inputs.align = isWrapped || width > 0.0 ? textPlace.align : TextAlign::Left;
    return inputs;
}

void CCaption::updateCompactSize() {
    if (!getArea() || !hasFont || wrapper.getParagraphCount() == 0) return;
    wrapper.setInputs(inputsFor(0.0, false));
    const CTextWrapper::CSize size = wrapper.getSize();
    const double gap = textPlace.gap * window->scale();
    if (getAttrString("compact-width") != "0")
        getArea()->setCompactValue(kAxisX, std::ceil(size.width + gap));
    if (getAttrString("compact-height") != "0")
        getArea()->setCompactValue(kAxisY, std::ceil(size.height));
}

void CCaption::layoutText() {
    const CViewArea& area = *getArea();
    const CPixelRect all = localBounds();
    const double left = area.value(Metric::InnerNear, kAxisX);
    const double top = area.value(Metric::InnerNear, kAxisY);
    const double gap = textPlace.gap * window->scale();
    const double width = all.width() - left - area.value(Metric::InnerFar, kAxisX) - gap;
    const double height = all.height() - top - area.value(Metric::InnerFar, kAxisY);
    const bool hasMarkup = title.find(u'[') >= 0;
    wrapper.setInputs(inputsFor(std::max(width, 1.0), hasMarkup));
    const double free = height - wrapper.getSize().height;
    textX = CTextDrawing::toPixel(left);
    textY = CTextDrawing::toPixel(top + free * textPlace.alignV);
    shadowShift = std::max(1, static_cast<int>(std::lround(window->scale())));
}

// ---- Drawing

CErrorResult CCaption::prepare() {
    LUM_TRY(CView::prepare());
    for (const int index : {0, 1}) {
        texts[index].clear();
        shadows[index].clear();
    }
    if (!hasFont || !getArea()) return nullptr;
    layoutText();
    prepareText(0, getCrossfade().getCurrent());
    if (getCrossfade().isRunning()) prepareText(1, getCrossfade().getTarget());
    return nullptr;
}

void CCaption::prepareText(int index, const CViewLook& look) {
    CTextPaint paint;
    for (int slot = 0; slot < kTextColorCount; slot++)
        paint.colors[static_cast<size_t>(slot)] = getTextColor(slot, look);
    texts[index].prepare(wrapper, paint);
    if (!hasShadow) return;
    paint.colors.fill(getTextColor(kTextColorCount, look));
    shadows[index].prepare(wrapper, paint);
}

void CCaption::render(const CViewContext& context) const {
    CView::render(context);
    const CPixelRect place = getPixelRect();
    const int x = place.left - context.originX + textX;
    const int y = place.top - context.originY + textY;
    shadows[context.look].draw(*context.target, x, y + shadowShift, context.clip);
    texts[context.look].draw(*context.target, x, y, context.clip);
}

} // namespace lum
