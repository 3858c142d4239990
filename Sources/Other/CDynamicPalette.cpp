#include "Other/CDynamicPalette.h"

#include "Core/CLog.h"
#include "Core/CSystem.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr CAttrRow<CDynamicPalette> kAttrs[] = {
    // Base values of colours that do not give their own.
    {"brightness", &CDynamicPalette::attrBase}, {"contrast", &CDynamicPalette::attrBase},
    {"opacity", &CDynamicPalette::attrBase},    {"tone", &CDynamicPalette::attrBase},
    {"tone2", &CDynamicPalette::attrBase},      {"tone3", &CDynamicPalette::attrBase},
};
// Carried for the definition: `palette-path`, `color-list`, `gradient-size`. Read where needed:
// `cmods-path`, the object of the modifiers, by default the child `cmods`.

constexpr CEventRow<CDynamicPalette> kEvents[] = {
    {"palette-updated-from-param", &CDynamicPalette::paletteUpdatedFromParam},
};

struct CModifierDefault {
    const char* name;
    double value;
};
constexpr CModifierDefault kModifiers[] = {
    {"hover-brightness", 6.0},                // Lab units
    {"panel-border-brightness", 0.0},         // Lab units
    {"custom-color-active-brightness", 15.0}, // Lab units
    {"underlay-slider-opacity", 0.7},
    {"cs-readout-descr-text-opacity", 0.5},
};

constexpr const char* kSchemeRecord = "uicolor-palette";

} // namespace

void CDynamicPalette::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

// The colours are complete by now: they are children.
CErrorResult CDynamicPalette::initDone() {
    LUM_TRY(CObject::initDone());
    const double start = system::secondsSinceLoad();
    readCache();
    double now = system::secondsSinceLoad();
    logFormat("Dynamic palette init time 1: %.4f s @ %.4f s", now - start, now);

    CByteBuffer blob;
    fetchBlob(blob);
    logAndDropError(applyRecords(blob)); // a damaged scheme leaves the definition's colours
    if (computeRamps()) writeCache();
    now = system::secondsSinceLoad();
    logFormat("Dynamic palette init time 2: %.4f s @ %.4f s", now - start, now);
    LUM_TRY(fireEvent("dynamic-palette-updated", false));
    return nullptr;
}

// Colours need not lie below their palette, so they may live on.
void CDynamicPalette::prepareDestroy() {
    store = nullptr;
    for (CDynamicColor* color : order) {
        color->palette = nullptr;
        color->data = nullptr;
    }
    order.clear();
    colors.clear();
    hoverColors.clear();
    CObject::prepareDestroy();
}

// ---- Look-ups

CDynamicColor* CDynamicPalette::findColor(const CString& name, bool* isHover) const {
    if (isHover) *isHover = false;
    if (auto found = colors.find(name); found != colors.end()) return found->second;
    if (auto found = hoverColors.find(name); found != hoverColors.end()) {
        if (isHover) *isHover = true;
        return found->second;
    }
    logFormat("Color not found: '%s'", name.toUtf8().c_str());
    return nullptr;
}

CDynamicColor* CDynamicPalette::findColorAt(const CString& name, double position,
                                            bool* isHover) const {
    const auto member = [&name](int index) { return name + "[" + CString::fromInt(index) + "]"; };
    int size = 0;
    if (!colors.count(name) && !hoverColors.count(name))
        while (colors.count(member(size))) size++;
    if (size == 0) return findColor(name, isHover);
    const double inside = position > 0.0 ? std::min(position, 1.0) : 0.0;
    return findColor(member(static_cast<int>(std::lround((size - 1) * inside))), isHover);
}

const CColor* CDynamicPalette::findRamp(const CString& name) const {
    bool isHover = false;
    const CDynamicColor* color = findColor(name, &isHover);
    if (!color) return nullptr;
    return isHover ? color->getHoverColor() : color->getColor();
}

double CDynamicPalette::getModifier(const CString& name) const {
    const CString path = getAttrString("cmods-path");
    const CObject* modifiers = path.empty() ? findChild("cmods") : findObject(path);
    double fallback = 0.0;
    for (const CModifierDefault& row : kModifiers)
        if (name == row.name) fallback = row.value;
    return modifiers ? modifiers->getAttrReal(name, fallback) : fallback;
}

namespace {

void listBelow(const CObject& parent, CVector<CPaletteListLine>& out) {
    for (CObject* child : parent.getChildren()) {
        auto* color = dynamic_cast<CDynamicColor*>(child);
        const CString heading = color ? child->getAttrString("group-title")
                                : child->getName().startsWith("group-title")
                                    ? child->getAttrString("title")
                                    : CString();
        if (!heading.empty()) out.push_back({heading, nullptr});
        if (color && !color->getAttrString("title").empty())
            out.push_back({color->getAttrString("title"), color});
        listBelow(*child, out);
    }
}

} // namespace

void CDynamicPalette::listColors(CVector<CPaletteListLine>& out) const {
    out.clear();
    listBelow(*this, out);
}

// ---- Colours

void CDynamicPalette::addColor(CDynamicColor& color) {
    const CString name = color.getName();
    colors[name] = &color;
    const bool isNew = std::find(order.begin(), order.end(), &color) == order.end();
    if (isNew) order.push_back(&color);
    std::erase_if(hoverColors, [&color](const auto& item) { return item.second == &color; });
    if (color.isHoverable()) hoverColors[color.getHoverName()] = &color;
    if (color.isCopyingParent()) {
        if (isNew) announceColors();
        return;
    }
    std::unique_ptr<CDynamicColorData>& slot = data[name];
    if (!slot) slot = std::make_unique<CDynamicColorData>();
    slot->setForm(color.getGradientSize(), color.isHoverable());
    color.data = slot.get();
    if (getState() < 3) return;
    const bool isChanged = color.data->setValues(color.values);
    if (isNew || isChanged) announceColors();
}

void CDynamicPalette::removeColor(CDynamicColor& color) {
    const auto isColor = [&color](const auto& item) { return item.second == &color; };
    std::erase_if(colors, isColor);
    std::erase_if(hoverColors, isColor);
    for (size_t i = order.size(); i-- > 0;)
        if (order[i] == &color) order.erase(i);
    announceColors();
}

void CDynamicPalette::announceColors() {
    if (getState() >= 3) logAndDropError(fireEvent("dynamic-palette-updated", false));
}

CErrorResult CDynamicPalette::onColorChanged(CDynamicColor& color) {
    if (getState() < 3 || isApplying) return nullptr;
    const bool isChanged = color.data && color.data->setValues(color.values);
    if (store) {
        CByteBuffer blob;
        LUM_TRY(makeBlob(blob));
        LUM_TRY(store->storePalette(blob));
    }
    if (isChanged) LUM_TRY(fireEvent("dynamic-palette-updated", false));
    return nullptr;
}

bool CDynamicPalette::computeRamps() {
    bool isChanged = false;
    for (CDynamicColor* color : order)
        if (color->data && color->data->setValues(color->values)) isChanged = true;
    return isChanged;
}

CErrorResult CDynamicPalette::attrBase(const CAttrEntry&) {
    if (getState() < 3) return nullptr;
    for (CDynamicColor* color : order) color->readValues();
    if (computeRamps()) LUM_TRY(fireEvent("dynamic-palette-updated", false));
    return nullptr;
}

// ---- The scheme

void CDynamicPalette::fetchBlob(CByteBuffer& out) const {
    if (store)
        store->fetchPalette(out);
    else
        records().read(kSchemeRecord, out, kDataBlock);
}

CErrorResult CDynamicPalette::paletteUpdatedFromParam() {
    if (getState() < 1) return nullptr;
    CByteBuffer blob;
    fetchBlob(blob);
    LUM_TRY(applyBlob(blob));
    return nullptr;
}

CErrorResult CDynamicPalette::applyBlob(const CByteBuffer& blob) {
    LUM_TRY(applyRecords(blob));
    if (computeRamps()) LUM_TRY(fireEvent("dynamic-palette-updated", false));
    return nullptr;
}

} // namespace lum
