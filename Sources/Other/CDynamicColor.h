#pragma once

#include "Core/CObject.h"
#include "Other/CDynamicColorData.h"

namespace lum {

class CDynamicPalette;

/// What the colour editor offers for a colour.
struct CColorFeatures {
    bool brightness = false;
    bool contrast = false;
    bool enabled = false;
    bool opacity = false;
    bool tone = false;
};

/// `ui:dynamic-color`: a named colour of a palette. Its name is the last part of its full name. The
/// ramps lie in the palette; the object gives the values they are computed from. Colours nest, so
/// that a child's attributes can follow its parent's. Interface thread.
class CDynamicColor : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initContent() override;
    void detachFromParent() override;

    // The ramps to draw with; null before the palette has computed them.
    const CColor* getColor() const { return getGradientColor(0.0); }
    const CColor* getGradientColor(double position) const;
    /// Null for a colour without a hover form.
    const CColor* getHoverColor() const;
    /// Computed data: its own, or that of the nearest parent colour that has some.
    const CDynamicColorData* getData() const;

    /// Style features rest on it.
    bool isLit() const { return values.brightness > 0.0; }
    bool isHoverable() const { return hoverable; }
    /// Whether this colour uses the data of its parent colour.
    bool isCopyingParent() const { return copyingParent; }
    const CColorFeatures& getFeatures() const { return features; }
    const CColorValues& getValues() const { return values; }
    int getGradientSize() const { return gradientSize; }
    double getEditableMin() const { return getAttrReal("editable-brightness-min", -25.0); }
    double getEditableMax() const { return getAttrReal("editable-brightness-max", 25.0); }
    CString getCopySource() const { return getAttrString("copy-default-from"); }
    CDynamicPalette* getPalette() const { return palette; }
    /// Name of the hover form: "Name" gives "Name_Hover", "Name_State" gives "Name_StateHover".
    CString getHoverName() const;

    // Attributes.
    CErrorResult attrValues(const CAttrEntry& value);
    CErrorResult attrForm(const CAttrEntry& value);
    CErrorResult attrFeatures(const CAttrEntry& value);

private:
    friend class CDynamicPalette;
    CErrorResult findPalette();
    CDynamicColor* parentColor() const;
    void readValues();

    CDynamicPalette* palette = nullptr;
    CDynamicColorData* data = nullptr; // in the palette; null for a copy of the parent's
    CColorValues values;
    CColorFeatures features;
    int gradientSize = 1;
    bool hoverable = false;
    bool copyingParent = false;
};

} // namespace lum
