#include "UI/CPicture.h"

#include <cmath>

namespace lum {

namespace {

constexpr CAttrRow<CPicture> kAttrs[] = {
    {"pic-alignment-h", &CPicture::attrPicAlignmentH},           // "left", "center", "right"
    {"pic-alignment-v", &CPicture::attrPicAlignmentV},           // "top", "center", "bottom"
    {"pic-alignment-target", &CPicture::attrPicAlignmentTarget}, // path of a view
    {"crop", &CPicture::attrCrop},                               // border syntax
    {"is-tiling-x", &CPicture::attrIsTilingX},                   // Boolean
    {"is-tiling-y", &CPicture::attrIsTilingY},                   // Boolean
};

/// Multiples of `size` from `start` that cover the way to `end`; one if it does not repeat.
CVector<int, 8> steps(int start, int low, int high, int size, bool isTiling) {
    CVector<int, 8> list;
    if (!isTiling || size <= 0) {
        list.push_back(start);
        return list;
    }
    int place = start;
    while (place > low) place -= size;
    for (; place < high; place += size) list.push_back(place);
    return list;
}

double partOf(const CString& text, const char* near, const char* far) {
    return text == near ? 0.0 : text == far ? 1.0 : 0.5;
}

} // namespace

void CPicture::fillClass(CClassInfo& info) {
    CView::fillClass(info);
    info.addAttrs(kAttrs);
}

CErrorResult CPicture::initDone() {
    LUM_TRY(CView::initDone());
    updateCompactSize();
    return nullptr;
}

template <class T>
CErrorResult CPicture::change(T& member, const T& value) {
    if (member == value) return nullptr;
    member = value;
    requestPrepare();
    return nullptr;
}

CErrorResult CPicture::attrPicAlignmentTarget(const CAttrEntry& value) {
    return change(target, value.text());
}

CErrorResult CPicture::attrIsTilingX(const CAttrEntry& value) {
    return change(tiling[kAxisX], value.boolOr(false));
}

CErrorResult CPicture::attrIsTilingY(const CAttrEntry& value) {
    return change(tiling[kAxisY], value.boolOr(false));
}

CErrorResult CPicture::attrPicAlignmentH(const CAttrEntry& value) {
    return change(alignX, partOf(value.text(), "left", "right"));
}

CErrorResult CPicture::attrPicAlignmentV(const CAttrEntry& value) {
    return change(alignY, partOf(value.text(), "top", "bottom"));
}

CErrorResult CPicture::attrCrop(const CAttrEntry& value) {
    CViewBorder given;
    given.parse(value.text());
    if (given == crop) return nullptr;
    crop = given;
    updateCompactSize();
    requestPrepare();
    return nullptr;
}

CErrorResult CPicture::onImageSetChanged() {
    updateCompactSize();
    return CView::onImageSetChanged();
}

CErrorResult CPicture::onImageSetRangeChanged() {
    updateCompactSize();
    return CView::onImageSetRangeChanged();
}

void CPicture::onLookChanged() {
    updateCompactSize();
    CView::onLookChanged();
}

void CPicture::onScaleChanged() {
    updateCompactSize();
    CView::onScaleChanged();
}

void CPicture::updateCompactSize() {
    const CImage* image = getArea() ? getImage(getCrossfade().getTarget()) : nullptr;
    if (!image) return;
    const CPixelRect size = imageBounds(*image, window->scale());
    const double scale = window->scale();
    if (getAttrString("compact-width") != "0")
        getArea()->setCompactValue(kAxisX, size.width() - (crop.left + crop.right) * scale);
    if (getAttrString("compact-height") != "0")
        getArea()->setCompactValue(kAxisY, size.height() - (crop.top + crop.bottom) * scale);
}

CPixelRect CPicture::targetBounds() {
    auto* view = target.empty() ? nullptr : findAs<CView>(target);
    followPlace(view == this ? nullptr : view);
    if (!view) return localBounds();
    const CPixelRect own = getPixelRect();
    const CPixelRect other = view->getPixelRect();
    return {other.left - own.left, other.top - own.top, other.right - own.left,
            other.bottom - own.top};
}

void CPicture::prepareLook(CPreparedDraw& out, const CViewLook& look) {
    const CImage* image = getImage(look);
    if (!image) return;
    const CPixelRect size = imageBounds(*image, window->scale());
    const CPixelRect around = targetBounds();
    const auto pixels = [this](double units) {
        return static_cast<int>(std::lround(units * window->scale()));
    };
    const int width = size.width() - pixels(crop.left + crop.right);
    const int height = size.height() - pixels(crop.top + crop.bottom);
    const int x = around.left + static_cast<int>(std::lround((around.width() - width) * alignX));
    const int y = around.top + static_cast<int>(std::lround((around.height() - height) * alignY));
    const CPixelRect all = localBounds();
    for (const int left : steps(x, all.left, all.right, width, tiling[kAxisX]))
        for (const int top : steps(y, all.top, all.bottom, height, tiling[kAxisY]))
            addImage(out, look, *image, left - pixels(crop.left), top - pixels(crop.top),
                     CPixelRect{left, top, left + width, top + height}.intersected(all));
}

} // namespace lum
