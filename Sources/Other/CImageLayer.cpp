#include "Other/CImageScaler.h"
#include "Other/CImageSet.h"
#include "Platform/Lock.h"

#include <algorithm>
#include <cmath>

// Layers: their bytes, and the forms of them that are prepared for a scale.

namespace lum {

// ---- CImageLayerData

void CImageLayerData::setRuns(CByteBuffer owned) {
    ownedBytes = std::move(owned);
    setRunsInPlace(ownedBytes.data(), ownedBytes.size());
}

void CImageLayerData::setRunsInPlace(const uint8_t* bytes, size_t count) {
    runBytes = bytes;
    runByteCount = count;
}

// As the runs have it: what counts as transparent is 0, what counts as opaque 255.
void CImageLayerData::keepAlpha(const uint8_t* pixels, int stride) {
    constexpr int kWidest = 64;    // pixels; longer runs are faster drawn as such
    constexpr int kReadBehind = 8; // bytes that drawing may read behind the last row
    if (bytesPerPixel != 1 || width > kWidest || width * height == 0) return;
    alphaBytes = std::make_unique<CByteBuffer>();
    alphaBytes->resize(static_cast<size_t>(width * height + kReadBehind));
    uint8_t* out = alphaBytes->data();
    for (int y = 0; y < height; y++, pixels += stride)
        for (int x = 0; x < width; x++)
            *out++ = pixels[x] <= kTransparentAlpha ? uint8_t{0}
                     : pixels[x] >= kOpaqueAlpha    ? uint8_t{255}
                                                    : pixels[x];
    std::fill(out, out + kReadBehind, uint8_t{0});
}

void CImageLayerData::setPixels(CByteBuffer owned, int tone) {
    ownedBytes = std::move(owned);
    runBytes = nullptr;
    runByteCount = 0;
    textureIndex = -1;
    toneIndex = tone >= 0 ? tone : findTone();
}

// The first byte of the first pixel; for colours the mean of the first bytes over a block that lies
// one row and column in from the corner.
int CImageLayerData::findTone() const {
    constexpr int kToneBlock = 6; // rows and columns
    constexpr int kNoTone = 255;
    if (ownedBytes.empty()) return kNoTone;
    const uint8_t* pixels = ownedBytes.data();
    if (bytesPerPixel != 4) return pixels[0];
    if (width < 2 || height < 2) return kNoTone;
    const int columns = std::min(kToneBlock, width - 1);
    const int rows = std::min(kToneBlock, height - 1);
    int sum = 0;
    for (int y = 1; y <= rows; y++)
        for (int x = 1; x <= columns; x++) sum += pixels[(y * width + x) * 4];
    return (sum + rows * columns / 2) / (rows * columns);
}

CPixelSource CImageLayerData::getPixels() const {
    if (hasOwnPixels()) return {ownedBytes.data(), width * bytesPerPixel};
    const CImagePage* page =
        textureIndex >= 0 && provider ? provider->getTexture(textureIndex) : nullptr;
    if (!page) return {};
    const int stride = page->width * page->bytesPerPixel;
    return {page->pixels.data() + static_cast<ptrdiff_t>(textureY) * stride +
                textureX * page->bytesPerPixel,
            stride};
}

// ---- Variants

namespace {

/// Guards the variants of all layers and the list of idle scalers. Held for a search or an
/// insertion, never while an image is scaled.
platform::CSpinLock& imageLock() {
    static platform::CSpinLock lock;
    return lock;
}

/// Scalers keep their weights, so they are used again. Under the image lock.
CVector<std::unique_ptr<CImageScaler>, 8>& idleScalers() {
    static CVector<std::unique_ptr<CImageScaler>, 8> list;
    return list;
}

std::unique_ptr<CImageScaler> takeScaler() {
    {
        platform::CSpinGuard guard(imageLock());
        auto& list = idleScalers();
        if (!list.empty()) {
            std::unique_ptr<CImageScaler> scaler = std::move(list.back());
            list.pop_back();
            return scaler;
        }
    }
    return std::make_unique<CImageScaler>();
}

} // namespace

const CImageLayerData* CImageLayer::findVariant(double requestedScale) const {
    for (const auto& variant : variants)
        if (variant->scale == requestedScale) return variant.get();
    return nullptr;
}

int CImageLayer::getVariantCount() const {
    platform::CSpinGuard guard(imageLock());
    return variants.ssize();
}

const CImageLayerData* CImageLayer::getVariant(double requestedScale) const {
    if (runs()) return this;
    {
        platform::CSpinGuard guard(imageLock());
        if (const CImageLayerData* known = findVariant(requestedScale)) return known;
    }
    std::unique_ptr<CImageLayerData> fresh = buildVariant(requestedScale);
    if (!fresh) return nullptr;
    platform::CSpinGuard guard(imageLock());
    // Another thread may have been faster; then the fresh one goes.
    if (const CImageLayerData* known = findVariant(requestedScale)) return known;
    return variants.push_back(std::move(fresh)).get();
}

std::unique_ptr<CImageLayerData> CImageLayer::buildVariant(double requestedScale) const {
    const CPixelSource source = getPixels();
    if (!source.pixels) return nullptr;
    const CImagePlacement place = CImagePlacement::place(*this, requestedScale, {}, 1.0);
    auto variant = std::make_unique<CImageLayerData>();
    variant->scale = requestedScale;
    variant->invScale = 1.0 / requestedScale;
    variant->width = place.width;
    variant->height = place.height;
    variant->offsetX = place.offsetX;
    variant->offsetY = place.offsetY;
    variant->alignFlags = alignFlags;
    variant->toneIndex = toneIndex;
    variant->advance = advance;
    variant->bytesPerPixel = bytesPerPixel;
    if (requestedScale == scale) {
        variant->setRuns(encodeRuns(source.pixels, width, height, source.stride, bytesPerPixel));
        variant->keepAlpha(source.pixels, source.stride);
        return variant;
    }
    CByteBuffer scaled;
    const int stride = place.width * bytesPerPixel;
    scaled.resize(static_cast<size_t>(stride) * static_cast<size_t>(place.height));
    std::unique_ptr<CImageScaler> scaler = takeScaler();
    scaler->scale({source.pixels, width, height, source.stride, scaled.data(), place.width,
                   place.height, bytesPerPixel, place.ratio, place.phaseX, place.phaseY});
    {
        platform::CSpinGuard guard(imageLock());
        idleScalers().push_back(std::move(scaler));
    }
    variant->setRuns(encodeRuns(scaled.data(), place.width, place.height, stride, bytesPerPixel));
    variant->keepAlpha(scaled.data(), stride);
    return variant;
}

// ---- CImagePlacement

namespace {

constexpr double kFaintest = 0.005;    // opacity below which an image is not drawn
constexpr double kSizeSteps = 128.0;   // of a pixel; finer parts of a size are dust
constexpr double kLongestSide = 32767; // pixels

/// One axis of a placement.
struct CAxisPlace {
    int offset;
    int size;
    double phase;
};

CAxisPlace placeAxis(int offset, int size, double factor, int align) {
    const double ratio = 1.0 / factor;
    const double start = std::floor(offset * factor);
    const double shift = start * ratio - offset; // of the grid, source pixels
    const double exactSize = (size - shift) * factor;
    const double wholeSize = std::ceil(std::trunc(exactSize * kSizeSteps) / kSizeSteps);
    double phase = shift + (ratio - 1.0) / 2.0;
    // What the whole size has too much lies behind the image; an earlier start brings it in front.
    const double slack = (wholeSize - exactSize) * ratio; // source pixels
    if (align == 1) phase -= slack / 2.0;
    if (align == 2) phase -= slack;
    return {static_cast<int>(start),
            size > 0 ? static_cast<int>(std::min(wholeSize, kLongestSide)) : 0, phase};
}

} // namespace

CImagePlacement CImagePlacement::place(const CImageLayerData& layer, double requestedScale,
                                       const CDrawColor& color, double opacity) {
    CImagePlacement out;
    out.color = color;
    const double shown = color.opacity * opacity;
    out.fixedOpacity = shown < kFaintest ? 0 : opacityToFixed(shown);
    out.isPartial = out.fixedOpacity < kOpacitySolid;
    out.offsetX = layer.offsetX;
    out.offsetY = layer.offsetY;
    out.width = layer.width;
    out.height = layer.height;
    if (layer.runs()) out.data = &layer;
    if (layer.runs() || requestedScale == layer.scale) return out;

    const double factor = requestedScale * layer.invScale;
    out.ratio = 1.0 / factor;
    const CAxisPlace x = placeAxis(layer.offsetX, layer.width, factor, layer.alignFlags & 3);
    const CAxisPlace y = placeAxis(layer.offsetY, layer.height, factor, layer.alignFlags >> 2 & 3);
    out.offsetX = x.offset;
    out.width = x.size;
    out.phaseX = x.phase;
    out.offsetY = y.offset;
    out.height = y.size;
    out.phaseY = y.phase;
    return out;
}

CImagePlacement CImagePlacement::prepare(const CImageLayer& layer, double requestedScale,
                                         const CDrawColor& color, double opacity) {
    CImagePlacement out = place(layer, requestedScale, color, opacity);
    out.data = layer.getVariant(requestedScale);
    return out;
}

} // namespace lum
