#include "UI/CFrame.h"

#include <cmath>

namespace lum {

namespace {

// All are off unless they are said: "false" in compiled data does not arrive. A shadow is nothing
// but borders and has them always.
constexpr CAttrRow<CFrame> kAttrs[] = {
    {"has-borders", &CFrame::attrLook},                    // edges and corners
    {"has-center", &CFrame::attrLook},                     // the area inside
    {"has-corners-only", &CFrame::attrLook},               // no edges
    {"is-fixed-frame", &CFrame::attrLook},                 // pieces at scale 1
    {"is-ignore-color-opacity", &CFrame::attrLook},        // colours count as opaque
    {"is-textured-background", &CFrame::attrLook},         // grain on the area inside
    {"textured-background-offset-x", &CFrame::attrLook},   // start of the grain, interface units
    {"second-layer-color", &CFrame::attrSecondLayerColor}, // name for the images' second slot
    {"is-shadow-hidden", &CFrame::attrIsShadowHidden},     // of a shadow itself
};

constexpr CEventRow<CFrame> kEvents[] = {
    {"caption-changed", &CFrame::onCaptionChanged},
};

constexpr int kFirstPiece = 0; // image index behind the start of the range
constexpr int kTexture = 8;    // the same, behind the pieces
constexpr int kSecondSlot = 1;
constexpr const char* kShadowTag = "ui:shadow";
constexpr int kFullTone = 255; // ramp index

} // namespace

struct CFrame::CPieces {
    const CImage* images[kPieceCount] = {};
    CPixelRect sizes[kPieceCount];
    double scale = 1.0;
};

void CFrame::fillClass(CClassInfo& info) {
    CView::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

CErrorResult CFrame::initContent() {
    LUM_TRY(CView::initContent());
    const CString caption = getAttrString("path-caption");
    if (!caption.empty()) listenObject(caption, "title-changed", "caption-changed");
    return nullptr;
}

CErrorResult CFrame::attrLook(const CAttrEntry&) {
    CParts given;
    given.hasBorders = getAttrBool("has-borders");
    given.hasCenter = getAttrBool("has-center");
    given.hasCornersOnly = getAttrBool("has-corners-only");
    given.isFixed = getAttrBool("is-fixed-frame");
    given.isOpaque = getAttrBool("is-ignore-color-opacity");
    given.isTextured = getAttrBool("is-textured-background");
    given.textureOffset = getAttrReal("textured-background-offset-x");
    if (given == parts) return nullptr;
    parts = given;
    requestPrepare();
    return nullptr;
}

CErrorResult CFrame::attrSecondLayerColor(const CAttrEntry& value) {
    setColorSlot(kSecondSlot, CString("/") + value.text());
    return nullptr;
}

// On other frames the attribute is told to the shadows below them.
CErrorResult CFrame::attrIsShadowHidden(const CAttrEntry& value) {
    if (getTag() != kShadowTag) return nullptr;
    return setAttrValue("is-hidden", value, true);
}

CErrorResult CFrame::onCaptionChanged(CAttrMap& arguments) {
    LUM_TRY(onRequestViewAreaUpdates());
    LUM_TRY(fireEvent("view-area-update", false));
    return finishEvent("caption-changed", arguments);
}

void CFrame::prepareLook(CPreparedDraw& out, const CViewLook& look) {
    CPieces pieces;
    pieces.scale = parts.isFixed ? 1.0 : window->scale();
    for (int piece = 0; piece < kPieceCount; piece++) {
        pieces.images[piece] = getImage(look, kFirstPiece + piece);
        if (pieces.images[piece])
            pieces.sizes[piece] = imageBounds(*pieces.images[piece], pieces.scale);
    }
    const CPixelRect all = localBounds();
    const auto largest = [&pieces](int a, int b, int c, bool isWide) {
        const auto side = [&](int piece) {
            return isWide ? pieces.sizes[piece].width() : pieces.sizes[piece].height();
        };
        return std::max({side(a), side(b), side(c)});
    };
    const int left = largest(kTopLeft, kLeft, kBottomLeft, true);
    const int top = largest(kTopLeft, kTop, kTopRight, false);
    const int right = all.right - largest(kTopRight, kRight, kBottomRight, true);
    const int bottom = all.bottom - largest(kBottomLeft, kBottom, kBottomRight, false);
    const bool hasBorders = parts.hasBorders || getTag() == kShadowTag;
    const bool hasCorners = hasBorders || parts.hasCornersOnly;
    const bool hasEdges = hasBorders && !parts.hasCornersOnly;
    if (parts.hasCenter) addCenter(out, look, pieces, {left, top, right, bottom});
    if (parts.isTextured) addTexture(out, look, pieces, {left, top, right, bottom});
    if (hasEdges) {
        addTiled(out, look, pieces, kTop, {left, 0, right, top});
        addTiled(out, look, pieces, kLeft, {0, top, left, bottom});
        addTiled(out, look, pieces, kRight, {right, top, all.right, bottom});
        addTiled(out, look, pieces, kBottom, {left, bottom, right, all.bottom});
    }
    if (!hasCorners) return;
    addPiece(out, look, pieces, kTopLeft, {0, 0, left, top});
    addPiece(out, look, pieces, kTopRight, {right, 0, all.right, top});
    addPiece(out, look, pieces, kBottomLeft, {0, bottom, left, all.bottom});
    addPiece(out, look, pieces, kBottomRight, {right, bottom, all.right, all.bottom});
}

void CFrame::addPiece(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                      const CPixelRect& area) {
    if (!pieces.images[piece] || area.empty()) return;
    const size_t from = out.size();
    addImage(out, look, *pieces.images[piece], area.left, area.top, area);
    adjust(out, from, pieces.scale);
}

void CFrame::addTiled(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces, int piece,
                      const CPixelRect& area) {
    const CPixelRect& size = pieces.sizes[piece];
    if (!pieces.images[piece] || area.empty() || size.empty()) return;
    addTiles(out, look, *pieces.images[piece], pieces.scale, size, area, area.left);
}

/// Repeats an image to the right and down, from `startX` and the top of the area on.
void CFrame::addTiles(CPreparedDraw& out, const CViewLook& look, const CImage& image, double scale,
                      const CPixelRect& size, const CPixelRect& area, int startX) {
    const size_t from = out.size();
    for (int y = area.top; y < area.bottom; y += size.height())
        for (int x = startX; x < area.right; x += size.width())
            addImage(out, look, image, x, y, area);
    adjust(out, from, scale);
}

// Neighbours start their grain at other places, so that they do not look alike.
void CFrame::addTexture(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces,
                        const CPixelRect& area) {
    const CImage* image = getImage(look, kTexture);
    const CPixelRect size = image ? imageBounds(*image, pieces.scale) : CPixelRect();
    if (area.empty() || size.empty()) return;
    const double offset = parts.textureOffset * pieces.scale;
    const double shift = std::fmod(std::round(offset), size.width());
    const int start = area.left + static_cast<int>(shift) - (shift > 0.0 ? size.width() : 0);
    addTiles(out, look, *image, pieces.scale, size, area, start);
}

void CFrame::addCenter(CPreparedDraw& out, const CViewLook& look, const CPieces& pieces,
                       const CPixelRect& area) {
    if (area.empty()) return;
    const size_t from = out.size();
    const CImage* corner = pieces.images[kBottomRight];
    if (!corner) addFill(out, area, getColor(0, look), kFullTone);
    for (size_t i = 0; corner && i < corner->layers.size(); i++) {
        const CImageLayer& layer = *corner->layers[i];
        addFill(out, area, getColor(layer.colorSlot, look), layer.toneIndex);
    }
    adjust(out, from, pieces.scale);
}

void CFrame::adjust(CPreparedDraw& out, size_t from, double scale) const {
    for (size_t i = from; i < out.size(); i++) {
        out[i].scale = scale;
        if (parts.isOpaque) out[i].color.opacity = 1.0;
    }
}

} // namespace lum
