#pragma once

#include "UI/CView.h"

namespace lum {

/// `ui:picture`: an image, aligned in the view, cropped, or repeated. Its compact size is the
/// image's. Interface thread.
class CPicture : public CView {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    CErrorResult attrPicAlignmentTarget(const CAttrEntry& value);
    CErrorResult attrIsTilingX(const CAttrEntry& value);
    CErrorResult attrIsTilingY(const CAttrEntry& value);
    CErrorResult attrPicAlignmentH(const CAttrEntry& value);
    CErrorResult attrPicAlignmentV(const CAttrEntry& value);
    CErrorResult attrCrop(const CAttrEntry& value);
    void onScaleChanged() override;

protected:
    void updateCompactSize() override;
    void prepareLook(CPreparedDraw& out, const CViewLook& look) override;
    CErrorResult onImageSetChanged() override;
    CErrorResult onImageSetRangeChanged() override;
    void onLookChanged() override;

private:
    template <class T>
    CErrorResult change(T& member, const T& value);
    CPixelRect targetBounds();

    double alignX = 0.5; // part of the free space in front of the image
    double alignY = 0.5;
    CViewBorder crop;    // interface units
    CString target;      // path of the view whose rectangle counts
    bool tiling[2] = {}; // by axis
};

} // namespace lum
