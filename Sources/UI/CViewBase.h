#pragma once

#include "UI/CViewBaseCtlEvents.h"
#include "UI/CViewColors.h"

namespace lum {

class CImageSetObject;

/// Colours, images and order of a view. Fourth of the chain of view classes. Interface thread.
class CViewBase : public CViewBaseCtlEvents {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initContent() override;

    CErrorResult attrColor(const CAttrEntry& value);
    CErrorResult attrColorSlots(const CAttrEntry& value);
    CErrorResult attrSharedColor(const CAttrEntry& value);
    CErrorResult attrPalette(const CAttrEntry& value);
    CErrorResult attrImageSet(const CAttrEntry& value);
    CErrorResult attrImageSetIndex(const CAttrEntry& value);
    CErrorResult attrZIndex(const CAttrEntry& value);

    /// Writes a slot of the view's own colour table.
    void setColorSlot(int index, const CString& name);
    /// What a slot draws with in a look.
    CDrawColor getColor(int slot, const CViewLook& look);
    CDrawColor getTextColor(int slot, const CViewLook& look);
    const CImageSet* getImageSet() const;
    /// The image at the view's index behind the start of the look's range, plus `offset`; or null.
    const CImage* getImage(const CViewLook& look, int offset = 0) const;
    /// Place in the drawing order; views of the same place are drawn in the tree's order.
    double getZ() const { return z; }
    /// What the child's order starts from when it says nothing else.
    double getChildZ(bool isDynamicChild) const;
    /// True when this view is drawn above the static pixels.
    bool isDynamic() const;
    bool isDecorative() const { return getAttrBool("is-decorative"); }
    bool isClickThrough() const { return getAttrBool("is-click-through"); }
    double getGradientPosition() const { return gradientPosition; }

protected:
    /// Colours and images have to be fetched anew.
    virtual CErrorResult onPrepareColor() { return nullptr; }
    virtual CErrorResult onImageSetChanged() { return onPrepareColor(); }
    virtual CErrorResult onImageSetRangeChanged() { return onPrepareColor(); }
    virtual CErrorResult onGradientChanged() { return onPrepareColor(); }
    virtual CErrorResult onPaletteChanged() { return onPrepareColor(); }
    virtual void onZChanged() {}
    void onDisabledChanged() override;
    /// False: they are the same as before.
    bool setTextSlots(const CString& names) { return textColors.setSlots(names); }
    void invalidateColors();
    /// Has the children that share this view's colours fetch them anew.
    void tellSharers();
    void updateZ();
    void setGradientPosition(double position);

private:
    void followPalette(const CString& name);
    CViewBase& colorSource();
    bool updateColorNames();
    double parseZ() const;

    CViewColors colors;
    CViewColors textColors;
    CString ownPalette; // full name, empty: that of the tree
    const CImageSetObject* imageSet = nullptr;
    bool isSharingColor = false; // draws with the colours of the view above
    int imageSetIndex = 0;
    double z = 0.0;
    double gradientPosition = 0.0;
};

} // namespace lum
