#include "Other/CStyle.h"

#include "Other/CDynamicColor.h"

namespace lum {

namespace {

// Inputs. `ui-flat-panels`, `ui-flat-meters` and `button-image-set` are carried for the definition.
constexpr CAttrRow<CStyle> kAttrs[] = {
    {"ui-shadows", &CStyle::attrInput},
    {"ui-spotlight", &CStyle::attrInput},
    {"ui-textures", &CStyle::attrInput},
};

constexpr CEventRow<CStyle> kEvents[] = {
    {"dynamic-palette-updated", &CStyle::derive},
};

constexpr const char* kPalette = "ui.palette";

} // namespace

void CStyle::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

// The palette may not exist yet; it announces itself when it does.
CErrorResult CStyle::initContent() {
    LUM_TRY(CObject::initContent());
    listenObject(kPalette, "dynamic-palette-updated", "dynamic-palette-updated");
    LUM_TRY(derive());
    return nullptr;
}

CErrorResult CStyle::attrInput(const CAttrEntry&) {
    if (getState() >= 2) LUM_TRY(derive());
    return nullptr;
}

bool CStyle::isLit(const char* colorPath, bool fallback) const {
    const auto* color = findAs<CDynamicColor>(colorPath);
    return color ? color->isLit() : fallback;
}

CErrorResult CStyle::derive() {
    LUM_TRY(deriveFrames(isLit("ui.palette.LargerPanelBorder", false),
                         isLit("ui.palette.MeterInnerBorder", false)));
    LUM_TRY(deriveOverlays(isLit("ui.palette.FlatPanels", true)));
    LUM_TRY(fireEvent("palette-updated", false));
    return nullptr;
}

CErrorResult CStyle::deriveFrames(bool isLarger, bool isMeterBordered) {
    LUM_TRY(setText("title-frame-spread", isLarger ? "0" : "1"));
    LUM_TRY(setText("title-frame-caption-border", isLarger ? "B3" : "B5.5"));
    LUM_TRY(setText("title-frame-spread-overlays", isLarger ? "-2" : "-1"));
    LUM_TRY(setText("meter-inner-border", isMeterBordered ? "1" : "0"));
    LUM_TRY(setText("meter-inner-border-spread", isMeterBordered ? "3" : "2"));
    LUM_TRY(setText("meter-inner-border-spread2", isMeterBordered ? "5" : "4"));
    return nullptr;
}

CErrorResult CStyle::deriveOverlays(bool isFlat) {
    const bool hasShadows = getAttrBool("ui-shadows");
    const bool hasSpotlight = getAttrBool("ui-spotlight");
    const bool hasTextures = getAttrBool("ui-textures");
    LUM_TRY(setBool("is-global-light-hidden", !hasSpotlight));
    LUM_TRY(setBool("is-shadow-hidden", !hasShadows));
    LUM_TRY(setReal("overlay-gradient-opacity", isFlat ? 0.0 : hasSpotlight ? 0.66 : 1.0));
    LUM_TRY(setReal("scroller-shadow-opacity", hasShadows ? 0.33 : 0.0));
    const double textured = isFlat ? 0.75 : 1.0;
    const double plain = isFlat ? 0.0 : 0.33;
    LUM_TRY(setReal("overlay-texture-opacity", hasTextures ? textured : plain));
    LUM_TRY(setReal("overlay-texture-opacity-bg", hasTextures ? 1.0 : 0.0));
    LUM_TRY(setText("panel-color", hasTextures || isFlat ? "Panel" : "RealisticPanel"));
    LUM_TRY(
        setText("panel-gradient-color", hasTextures ? "PanelGradient" : "RealisticPanelGradient"));
    return nullptr;
}

// Derived values are written only where they changed: each write runs through all that is bound.

CErrorResult CStyle::setText(const char* name, const char* value) {
    const CAttrEntry* now = findAttr(name);
    if (!now || !(now->text() == value)) LUM_TRY(setAttr(name, value, true));
    return nullptr;
}

CErrorResult CStyle::setReal(const char* name, double value) {
    double present = 0.0;
    const CAttrEntry* now = findAttr(name);
    if (!now || !now->toReal(present) || present != value)
        LUM_TRY(setAttrValue(name, CAttrEntry::ofReal(value), true));
    return nullptr;
}

CErrorResult CStyle::setBool(const char* name, bool value) {
    bool present = false;
    const CAttrEntry* now = findAttr(name);
    if (!now || !now->toBool(present) || present != value)
        LUM_TRY(setAttrValue(name, CAttrEntry::ofBool(value), true));
    return nullptr;
}

} // namespace lum
