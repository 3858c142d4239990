#include "UI/CViewBase.h"

#include "Core/CLog.h"
#include "Other/CDynamicPalette.h"
#include "Other/CImageSetObject.h"

namespace lum {

namespace {

using C = CViewBase;
constexpr CAttrRow<C> kAttrs[] = {
    {"color", &C::attrColor},                   // start of the colour names
    {"disabled-color", &C::attrColor},          // name of the colour while disabled
    {"color-slots", &C::attrColorSlots},        // their ends, separated by "|"
    {"shared-color", &C::attrSharedColor},      // "^": the colours of the view above
    {"palette", &C::attrPalette},               // path of another palette
    {"image-set", &C::attrImageSet},            // path of an image set
    {"image-set-index", &C::attrImageSetIndex}, // image behind the start of the range
    {"z-index", &C::attrZIndex},                // number, "number target" or "topmost number"
    {"z-index-dynamic-childs", &C::attrZIndex}, // order of the dynamic children
    {"z-index-static-childs", &C::attrZIndex},  // and of the others
};

constexpr const char* kRootPalette = "ui.palette";
constexpr const char* kPaletteEvent = "dynamic-palette-updated";
constexpr const char* kPalettePrefix = "pal.";
constexpr const char* kDisabledColor = "Disabled";
constexpr const char* kDisabledText = "DisabledText";
constexpr double kTopmost = 1e6; // above every plain z-index
constexpr const char* kTopmostWord = "topmost";

} // namespace

void CViewBase::fillClass(CClassInfo& info) {
    CViewBaseCtlEvents::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CViewBase::init() {
    LUM_TRY(CViewBaseCtlEvents::init());
    const CDynamicPalette* common = findAs<CDynamicPalette>(kRootPalette);
    colors.setPalettes(nullptr, common);
    textColors.setPalettes(nullptr, common);
    return nullptr;
}

CErrorResult CViewBase::initContent() {
    LUM_TRY(CViewBaseCtlEvents::initContent());
    updateColorNames();
    updateZ();
    return nullptr;
}

// ---- Colours

CErrorResult CViewBase::attrColor(const CAttrEntry&) {
    return updateColorNames() ? onPrepareColor() : nullptr;
}

CErrorResult CViewBase::attrColorSlots(const CAttrEntry& value) {
    return colors.setSlots(value.text()) ? onPrepareColor() : nullptr;
}

CErrorResult CViewBase::attrSharedColor(const CAttrEntry& value) {
    const bool isSharing = value.text() == "^";
    if (isSharing == isSharingColor) return nullptr;
    isSharingColor = isSharing;
    return onPrepareColor();
}

CErrorResult CViewBase::attrPalette(const CAttrEntry& value) {
    const CString path = value.text();
    const CDynamicPalette* own = nullptr;
    if (!path.empty()) {
        CObject* object = findObject(path);
        if (!object) object = findObject(CString(kPalettePrefix) + path);
        if (!object)
            return LUM_FAIL("@lumstr_CViewBase_palette_NoObject Unable to find palette object "
                            "'%1'.",
                            path);
        own = dynamic_cast<CDynamicPalette*>(object);
        if (!own) own = object->findAs<CDynamicPalette>(".palette");
        if (!own)
            return LUM_FAIL("@lumstr_CViewBase_palette_NoPalette Unable to find palette in palette "
                            "object '%1'.",
                            path);
    }
    const CDynamicPalette* common = findAs<CDynamicPalette>(kRootPalette);
    textColors.setPalettes(own, common);
    if (!colors.setPalettes(own, common)) return nullptr;
    followPalette(own && own != common ? own->getFullName() : CString());
    return onPaletteChanged();
}

// The palette of the tree is followed in any case.
void CViewBase::followPalette(const CString& name) {
    if (name == ownPalette) return;
    if (!ownPalette.empty()) unlistenObject(ownPalette, kPaletteEvent);
    ownPalette = name;
    if (!ownPalette.empty()) listenObject(ownPalette, kPaletteEvent, kPaletteEvent);
}

void CViewBase::setColorSlot(int index, const CString& name) {
    if (colors.setSlot(index, name)) logAndDropError(onPrepareColor());
}

// A disabled view has one colour for all fills and one for all texts.
bool CViewBase::updateColorNames() {
    CString fill, text;
    if (isDisabledInTree()) {
        fill = getAttrString("disabled-color");
        if (fill.empty()) fill = kDisabledColor;
        text = kDisabledText;
    }
    const CString own = getAttrString("color");
    bool isChanged = colors.setColor(own);
    isChanged = textColors.setColor(own) || isChanged;
    isChanged = colors.setCommonName(fill) || isChanged;
    return textColors.setCommonName(text) || isChanged;
}

void CViewBase::onDisabledChanged() {
    updateColorNames();
    logAndDropError(onPrepareColor());
    for (CViewBasePlacement* child : getChildViews())
        if (auto* view = dynamic_cast<CViewBase*>(child)) view->onDisabledChanged();
}

void CViewBase::invalidateColors() {
    const CDynamicPalette* common = findAs<CDynamicPalette>(kRootPalette);
    if (common && getAttrString("palette").empty()) {
        colors.setPalettes(nullptr, common);
        textColors.setPalettes(nullptr, common);
    }
    colors.invalidate();
    textColors.invalidate();
}

void CViewBase::tellSharers() {
    for (CViewBasePlacement* child : getChildViews())
        if (auto* view = dynamic_cast<CViewBase*>(child); view && view->isSharingColor)
            logAndDropError(view->onPrepareColor());
}

CViewBase& CViewBase::colorSource() {
    auto* above = isSharingColor ? dynamic_cast<CViewBase*>(getParentView()) : nullptr;
    return above ? above->colorSource() : *this;
}

// Shared colours are those that the other view has or is fading to, whatever the look here.
CDrawColor CViewBase::getColor(int slot, const CViewLook& look) {
    CViewBase& source = colorSource();
    const CViewLook& used = &source == this ? look : source.getCrossfade().getTarget();
    const int row = source.colors.findState(isDisabledInTree() ? CString() : used.colorState);
    return source.colors.get(slot, row, gradientPosition);
}

CDrawColor CViewBase::getTextColor(int slot, const CViewLook& look) {
    return textColors.get(slot,
                          textColors.findState(isDisabledInTree() ? CString() : look.colorState));
}

void CViewBase::setGradientPosition(double position) {
    gradientPosition = position;
    logAndDropError(onGradientChanged());
}

// ---- Images

CErrorResult CViewBase::attrImageSet(const CAttrEntry& value) {
    const CImageSetObject* before = std::exchange(imageSet, nullptr);
    if (!value.text().empty()) LUM_TRY(findObjectByAttr(imageSet, "image-set"));
    return imageSet == before ? nullptr : onImageSetChanged();
}

CErrorResult CViewBase::attrImageSetIndex(const CAttrEntry& value) {
    const int given = value.intOr(0);
    if (std::exchange(imageSetIndex, given) == given) return nullptr;
    return onImageSetRangeChanged();
}

const CImageSet* CViewBase::getImageSet() const {
    return imageSet ? &imageSet->getImageSet() : nullptr;
}

const CImage* CViewBase::getImage(const CViewLook& look, int offset) const {
    const CImageSet* images = getImageSet();
    if (!images) return nullptr;
    return images->getImage(images->findRange(look.imageSetRange) + imageSetIndex + offset);
}

// ---- Order

CErrorResult CViewBase::attrZIndex(const CAttrEntry&) {
    if (getState() >= 1) updateZ();
    return nullptr;
}

void CViewBase::updateZ() {
    const double now = parseZ();
    const bool isNew = now != z;
    z = now;
    if (isNew) onZChanged();
    for (CViewBasePlacement* child : getChildViews())
        if (auto* view = dynamic_cast<CViewBase*>(child)) view->updateZ();
}

double CViewBase::parseZ() const {
    CVector<CString> words;
    getAttrString("z-index").split(words, u' ', true);
    const auto* above = dynamic_cast<const CViewBase*>(getParentView());
    const double inherited = above ? above->getChildZ(getAttrBool("is-dynamic")) : 0.0;
    if (words.empty()) return inherited;
    double number = 0.0;
    if (words[0] == kTopmostWord) {
        if (words.size() > 1) words[1].parseReal(number);
        return kTopmost + number;
    }
    words[0].parseReal(number);
    if (words.size() < 2) return number;
    const auto* target = dynamic_cast<const CViewBase*>(findObject(words[1]));
    if (!target) {
        logFormat("Z-index target not found: %s", words[1].toUtf8().c_str());
        return number;
    }
    return target->z + number;
}

double CViewBase::getChildZ(bool isDynamicChild) const {
    return getAttrReal(isDynamicChild ? "z-index-dynamic-childs" : "z-index-static-childs", z);
}

bool CViewBase::isDynamic() const {
    if (getAttrBool("is-force-non-dynamic")) return false;
    return isAnimated() || getAttrBool("is-dynamic");
}

} // namespace lum
