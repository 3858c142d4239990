#pragma once

#include "UI/CView.h"

namespace lum {

/// `ui:picture`: an image, aligned in the view, cropped, or repeated. Its compact size is the
/// image's. Interface thread.
class CPicture : public CView {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    CErrorResult attrPicture(const CAttrEntry& value);
    CErrorResult attrPicAlignmentH(const CAttrEntry& value);
    CErrorResult attrPicAlignmentV(const CAttrEntry& value);
    CErrorResult attrCrop(const CAttrEntry& value);
    CErrorResult attrCompactWidth(const CAttrEntry& value) override;
    CErrorResult attrCompactHeight(const CAttrEntry& value) override;
    void onScaleChanged() override;

protected:
    void prepareLook(CPreparedDraw& out, const CViewLook& look) override;
    CErrorResult onImageSetChanged() override;
    CErrorResult onImageSetRangeChanged() override;
    void onLookChanged() override;

private:
    void updateCompactSize();
    CPixelRect targetBounds();

    double alignX = 0.5; // part of the free space in front of the image
    double alignY = 0.5;
    CViewBorder crop; // interface units
};

} // namespace lum
