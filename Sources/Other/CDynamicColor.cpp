#include "Other/CDynamicColor.h"

#include "Other/CDynamicPalette.h"

#include <algorithm>

namespace lum {

namespace {

constexpr CAttrRow<CDynamicColor> kAttrs[] = {
    {"tone", &CDynamicColor::attrValues},             // hexadecimal, as "f6edce"
    {"tone2", &CDynamicColor::attrValues},            // end of the gradient, or its middle
    {"tone3", &CDynamicColor::attrValues},            // end of a gradient of three tones
    {"brightness", &CDynamicColor::attrValues},       // added to L, Lab units
    {"contrast", &CDynamicColor::attrValues},         // 0 to 1
    {"opacity", &CDynamicColor::attrValues},          // 0 to 1
    {"hover-brightness", &CDynamicColor::attrValues}, // added to brightness for the hover form
    {"gradient-size", &CDynamicColor::attrForm},      // number of ramps, at least 1
    {"is-hoverable", &CDynamicColor::attrForm},
    {"editable-features", &CDynamicColor::attrFeatures}, // letters, see parseFeatures
};
// Read where needed: `is-copy-parent-color`, `palette` (path of the owner), `copy-default-from`,
// `editable-brightness-min`, `editable-brightness-max`, `title`, `group-title`.

constexpr double kDefaultContrast = 0.5;

/// Number of a text of one to eight hexadecimal digits, else `fallback`.
uint32_t parseTone(const CString& text, uint32_t fallback) {
    if (text.empty() || text.length() > 8) return fallback;
    uint32_t tone = 0;
    for (size_t i = 0; i < text.length(); i++) {
        const char16_t c = text.at(i);
        const char16_t lower = c | 0x20;
        if (c >= u'0' && c <= u'9')
            tone = tone << 4 | static_cast<uint32_t>(c - u'0');
        else if (lower >= u'a' && lower <= u'f')
            tone = tone << 4 | static_cast<uint32_t>(lower - u'a' + 10);
        else
            return fallback;
    }
    return tone;
}

/// Letters from left to right: "+" and "-" turn what follows on and off.
bool parseFeatures(const CString& text, CColorFeatures& out) {
    bool isOn = true;
    CColorFeatures parsed;
    for (size_t i = 0; i < text.length(); i++) {
        switch (text.at(i)) {
        case u'+':
            isOn = true;
            break;
        case u'-':
            isOn = false;
            break;
        case u'b':
            parsed.brightness = isOn;
            break;
        case u'c':
            parsed.contrast = isOn;
            break;
        case u'e':
            parsed.enabled = isOn;
            break;
        case u'o':
            parsed.opacity = isOn;
            break;
        case u't':
            parsed.tone = isOn;
            break;
        default:
            return false;
        }
    }
    out = parsed;
    return true;
}

} // namespace

void CDynamicColor::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CDynamicColor::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(findPalette());
    copyingParent = getAttrBool("is-copy-parent-color");
    if (copyingParent) {
        if (!parentColor())
            return LUM_FAIL("@lumstr_CDynamicColor_init_NoParent Parent dynamic color not found.");
    } else if (!findAttr("gradient-size")) {
        return LUM_FAIL("@lumstr_CDynamicColor_init_NoGradientSize Gradient size not defined.");
    }
    if (const CAttrEntry* given = findAttr("editable-features")) LUM_TRY(attrFeatures(*given));
    return nullptr;
}

CErrorResult CDynamicColor::initContent() {
    LUM_TRY(CObject::initContent());
    gradientSize = std::max(getAttrInt("gradient-size", 1), 1);
    hoverable = getAttrBool("is-hoverable");
    readValues();
    palette->addColor(*this);
    return nullptr;
}

// Whoever hears of it does not find the colour any more.
void CDynamicColor::detachFromParent() {
    CObject::detachFromParent();
    if (palette) palette->removeColor(*this);
    palette = nullptr;
    data = nullptr;
}

CErrorResult CDynamicColor::findPalette() {
    if (!getAttrString("palette").empty()) {
        LUM_TRY(findObjectByAttr(palette, "palette"));
        return nullptr;
    }
    for (CObject* object = getParent(); object && !palette; object = object->getParent())
        palette = dynamic_cast<CDynamicPalette*>(object);
    if (!palette) LUM_TRY(findObjectByAttr(palette, "palette"));
    return nullptr;
}

CDynamicColor* CDynamicColor::parentColor() const {
    CObject* object = getParent();
    while (object && !dynamic_cast<CDynamicColor*>(object)) object = object->getParent();
    return dynamic_cast<CDynamicColor*>(object);
}

CString CDynamicColor::getHoverName() const {
    const CString name = getName();
    return name + (name.find(u'_') < 0 ? "_Hover" : "Hover");
}

// ---- Ramps

const CDynamicColorData* CDynamicColor::getData() const {
    const CDynamicColor* color = this;
    while (color && color->copyingParent) color = color->parentColor();
    return color && color->data && color->data->isComputed() ? color->data : nullptr;
}

const CColor* CDynamicColor::getGradientColor(double position) const {
    const CDynamicColorData* computed = getData();
    return computed ? computed->getRamp(position) : nullptr;
}

const CColor* CDynamicColor::getHoverColor() const {
    const CDynamicColorData* computed = getData();
    return computed ? computed->getHoverRamp() : nullptr;
}

// ---- Attributes

// What a colour does not say itself is the palette's base value.
void CDynamicColor::readValues() {
    const CDynamicPalette& base = *palette;
    values.brightness = getAttrReal("brightness", base.getAttrReal("brightness"));
    values.contrast = getAttrReal("contrast", base.getAttrReal("contrast", kDefaultContrast));
    values.opacity = getAttrReal("opacity", base.getAttrReal("opacity", 1.0));
    values.hoverBrightness = getAttrReal("hover-brightness", base.getModifier("hover-brightness"));
    values.tone = parseTone(getAttrString("tone", base.getAttrString("tone")), 0);
    values.tone2 = parseTone(getAttrString("tone2", base.getAttrString("tone2")), kNoTone);
    values.tone3 = parseTone(getAttrString("tone3", base.getAttrString("tone3")), kNoTone);
}

CErrorResult CDynamicColor::attrValues(const CAttrEntry&) {
    if (getState() < 2 || !palette) return nullptr;
    const CColorValues before = values;
    readValues();
    if (before.isSame(values)) return nullptr;
    LUM_TRY(palette->onColorChanged(*this));
    return nullptr;
}

CErrorResult CDynamicColor::attrForm(const CAttrEntry&) {
    if (getState() < 2 || !palette) return nullptr;
    gradientSize = std::max(getAttrInt("gradient-size", 1), 1);
    hoverable = getAttrBool("is-hoverable");
    palette->addColor(*this);
    LUM_TRY(palette->onColorChanged(*this));
    return nullptr;
}

CErrorResult CDynamicColor::attrFeatures(const CAttrEntry& value) {
    if (!parseFeatures(value.text(), features))
        return LUM_FAIL("@lumstr_CDynamicColor_attrFeatures_Invalid Invalid characters in "
                        "editable-features attribute.");
    return nullptr;
}

} // namespace lum
