#include "UI/CView.h"

// Making a view's drawing, and replaying it.

namespace lum {

namespace {

constexpr double kSmallestSide = 0.1;     // pixels
constexpr double kNothingOpacity = 0.005; // below it a view draws nothing
constexpr double kSolidOpacity = 0.99;    // from it on a view needs no scratch bitmap
constexpr double kSmallestWeight = 0.01;  // of a look in a crossfade

} // namespace

// ---- Replaying

bool CView::isDrawn() const {
    return isShown() && rect.width > kSmallestSide && rect.height > kSmallestSide &&
           getFinalOpacity() >= kNothingOpacity;
}

CErrorResult CView::draw(const CViewContext& context) const {
    if (!isDrawn() || context.clip.empty()) return nullptr;
    const double opacity = getFinalOpacity();
    if (opacity >= kSolidOpacity) {
        LUM_TRY(drawLooks(context));
    } else {
        CLinearBitmap& scratch = *context.scratch[0];
        LUM_TRY(scratch.copyRect(*context.target, context.clip));
        CViewContext inner = context;
        inner.target = &scratch;
        LUM_TRY(drawLooks(inner));
        context.target->blendFrom(scratch, opacity, context.clip);
    }
    if (isAreaShown) context.target->xorRect(context.clip, 255, 255, 255, 0);
    return nullptr;
}

CErrorResult CView::drawLooks(const CViewContext& context) const {
    if (!getCrossfade().isRunning()) {
        render(context);
        return nullptr;
    }
    const double factor = getCrossfade().getFactor();
    LUM_TRY(drawFaded(context, 0, 1.0 - factor));
    LUM_TRY(drawFaded(context, 1, factor));
    return nullptr;
}

CErrorResult CView::drawFaded(const CViewContext& context, int look, double weight) const {
    if (weight <= kSmallestWeight) return nullptr;
    CLinearBitmap& scratch = *context.scratch[1];
    LUM_TRY(scratch.copyRect(*context.target, context.clip));
    CViewContext inner = context;
    inner.target = &scratch;
    inner.look = look;
    render(inner);
    context.target->blendFrom(scratch, weight, context.clip);
    return nullptr;
}

void CView::render(const CViewContext& context) const {
    const CPixelRect area = getPixelRect();
    const int left = area.left - context.originX;
    const int top = area.top - context.originY;
    for (const CDrawRecord& record : prepared[context.look]) {
        const CPixelRect clip = CPixelRect{record.clip.left + left, record.clip.top + top,
                                           record.clip.right + left, record.clip.bottom + top}
                                    .intersected(context.clip);
        if (clip.empty()) continue;
        if (record.layer)
            context.target->drawImage(record.placement, left + record.x, top + record.y, clip);
        else
            context.target->fillRect(clip, record.color, record.paletteIndex, record.opacity);
    }
}

// ---- Preparing

// The images are asked for once the list is complete, so that its records stay where they are.
void CView::buildLook(int index, const CViewLook& look) {
    dropPlacements(index);
    CPreparedDraw& records = prepared[index];
    prepareLook(records, look);
    for (CDrawRecord& record : records)
        if (record.layer)
            window->shared().queuePlacement(record.placement, *record.layer, record.color,
                                            record.opacity, record.scale);
}

void CView::dropPlacements(int index) {
    for (CDrawRecord& record : prepared[index])
        if (record.layer) window->shared().dropPlacement(record.placement);
    prepared[index].clear();
}

void CView::prepareLook(CPreparedDraw& out, const CViewLook& look) {
    if (const CImage* image = getImage(look)) addImage(out, look, *image, 0, 0, localBounds());
}

CPixelRect CView::localBounds() const {
    const CPixelRect area = getPixelRect();
    return {0, 0, area.width(), area.height()};
}

void CView::addImage(CPreparedDraw& out, const CViewLook& look, const CImage& image, int x, int y,
                     const CPixelRect& clip, double opacity) {
    for (const auto& layer : image.layers) {
        CDrawRecord record;
        record.layer = layer.get();
        record.x = x;
        record.y = y;
        record.clip = clip;
        record.color = getColor(layer->colorSlot, look);
        record.opacity = opacity;
        record.scale = window->scale();
        out.push_back(record);
    }
}

void CView::addFill(CPreparedDraw& out, const CPixelRect& area, const CDrawColor& color,
                    int paletteIndex, double opacity) {
    CDrawRecord record;
    record.clip = area;
    record.color = color;
    record.paletteIndex = paletteIndex;
    record.opacity = opacity;
    out.push_back(record);
}

CPixelRect CView::imageBounds(const CImage& image, double scale) {
    CPixelRect bounds;
    for (const auto& layer : image.layers) {
        const CImagePlacement placed = CImagePlacement::place(*layer, scale, {}, 1.0);
        bounds.right = std::max(bounds.right, placed.offsetX + placed.width);
        bounds.bottom = std::max(bounds.bottom, placed.offsetY + placed.height);
    }
    return bounds;
}

} // namespace lum
