#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CDataSet.h"
#include "Other/CLinearBitmap.h"
#include "Other/RunCoding.h"

#include <memory>

namespace lum {

class CImageSet;

/// Pixels of an atlas page: `height` rows of `width` * `bytesPerPixel` bytes without padding.
struct CImagePage {
    double scale = 1.0; // pixels per interface unit
    int width = 0;
    int height = 0;
    int bytesPerPixel = 0;
    CByteBuffer pixels;
};

/// The atlas of a set.
struct CImageTexture : public CLumMemAllocator {
    CVector<std::unique_ptr<CImagePage>, 1> pages;
};

class CImageTextureProvider : public virtual CCheckedObject {
public:
    virtual const CImagePage* getTexture(int index) const = 0;
};

/// A rectangle of pixels that is not run-coded: in an atlas page, or a layer's own.
struct CPixelSource {
    const uint8_t* pixels = nullptr;
    int stride = 0; // bytes
};

/// One layer at one scale. Pixels are 1 byte (alpha; palette entry 255), 2 (palette index, alpha)
/// or 4 (blue, green, red, alpha), either run-coded or a rectangle of an atlas page. A tool that
/// builds a set gives layers plain pixels, which `CImageSet::save` puts into the atlas.
class CImageLayerData : public virtual CCheckedObject, public CLumMemAllocator {
public:
    double scale = 1.0;    // pixels per interface unit
    double invScale = 1.0; // 1 / scale
    int width = 0;         // pixels of the visible rectangle
    int height = 0;
    int offsetX = 0; // of that rectangle from the image's origin, pixels of this data
    int offsetY = 0;
    int extraWidth = 0; // added for the laid-out size inline in text
    int extraHeight = 0;
    int alignFlags = 0; // bits 0, 1 horizontal, 2, 3 vertical: 0 near edge, 1 centre, 2 far edge
    int toneIndex = 255;
    double advance = 0.0; // glyphs: pen advance, pixels of this data
    int bytesPerPixel = 1;
    int textureIndex = -1; // -1: the data has its own runs
    int textureX = 0;
    int textureY = 0;
    const CImageTextureProvider* provider = nullptr;

    /// Address and size of the run-coded block; null for atlas data.
    const uint8_t* runs() const { return runBytes; }
    size_t runSize() const { return runByteCount; }
    void setRuns(CByteBuffer owned);
    /// Alpha bytes of a small image of 1-byte pixels, besides its runs: drawn at full opacity
    /// without a walk through runs. Rows without padding; null for other data.
    const uint8_t* alphaRows() const { return alphaBytes ? alphaBytes->data() : nullptr; }
    /// Keeps the alpha bytes if the image is small enough. pixels: `height` rows of `width` bytes.
    void keepAlpha(const uint8_t* pixels, int stride);
    void setRunsInPlace(const uint8_t* bytes, size_t count);

    /// Takes plain pixels, `height` rows of `width` * `bytesPerPixel` bytes, which stand in the
    /// members before. tone: the representative palette index, -1 to take it from the pixels.
    void setPixels(CByteBuffer owned, int tone = -1);
    /// Plain pixels of a rectangle that waits for the atlas.
    bool hasOwnPixels() const { return textureIndex < 0 && !runBytes && !ownedBytes.empty(); }
    /// The rectangle to scale from: own pixels or that of the atlas; null when there is none.
    CPixelSource getPixels() const;
    void dropPixels() { ownedBytes = CByteBuffer(); }

private:
    int findTone() const;

    CByteBuffer ownedBytes;                  // runs or plain pixels
    std::unique_ptr<CByteBuffer> alphaBytes; // mostly null, so not inside
    const uint8_t* runBytes = nullptr;
    size_t runByteCount = 0;
};

/// A layer of an image: its stored data, its colour slot and the variants prepared so far.
class CImageLayer : public CImageLayerData {
public:
    int colorSlot = 0;

    /// The drawable (run-coded) form at a scale, built on first use; null for a layer without
    /// pixels. A layer with runs of its own is drawable as it is, at any scale. Any thread.
    const CImageLayerData* getVariant(double requestedScale) const;
    /// Number of variants prepared so far.
    int getVariantCount() const;

private:
    const CImageLayerData* findVariant(double requestedScale) const;
    std::unique_ptr<CImageLayerData> buildVariant(double requestedScale) const;

    mutable CVector<std::unique_ptr<CImageLayerData>, 2> variants; // under the image lock
};

/// Layers, drawn first to last.
class CImage : public CLumMemAllocator {
public:
    CVector<std::unique_ptr<CImageLayer>, 2> layers;
};

/// How one layer is drawn at a scale: computed when a view prepares, not at each frame.
struct CImagePlacement {
    const CImageLayerData* data = nullptr; // run-coded; null: still waits for preparation
    int offsetX = 0;                       // pixels of the target
    int offsetY = 0;
    int width = 0;
    int height = 0;
    double phaseX = 0.0; // sampling phase, source pixels
    double phaseY = 0.0;
    double ratio = 1.0; // source pixels per target pixel
    CDrawColor color;
    int fixedOpacity = 0; // 15 bits
    bool isPartial = false;

    /// Places a layer; `opacity` is multiplied by the colour's. Does not build the variant: `data`
    /// is null unless the layer is drawable as it is.
    static CImagePlacement place(const CImageLayerData& layer, double requestedScale,
                                 const CDrawColor& color, double opacity);
    /// Places a layer and fetches its variant.
    static CImagePlacement prepare(const CImageLayer& layer, double requestedScale,
                                   const CDrawColor& color, double opacity);
};

/// A set of images by index, with named ranges. Filled once at load and read-only afterwards, but
/// for the variants of its layers.
class CImageSet : public CDataSet, public CImageTextureProvider {
public:
    struct CRange {
        int first = 0;
        int last = 0;
    };

    uint32_t getTypeCode() const override;
    /// Replaces the set. Another version than 1 gives an empty set and no failure. Where the stream
    /// exposes its bytes, the set keeps pointers into them.
    CErrorResult load(CPosInputStream& stream) override;
    /// Packs plain pixels into atlas pages first.
    CErrorResult save(COutputStream& stream) override;
    const CImagePage* getTexture(int index) const override;

    void clear();
    /// The first index of a range; 0 for a name that is not there, logged if it is not empty.
    int findRange(const CString& name) const;
    const CImage* getImage(int index) const; // null outside or in a hole
    int getImageLimit() const { return images.ssize(); }
    const CMap<CString, CRange>& getRanges() const { return ranges; }

    // For tools that build sets.
    void setRange(const CString& name, int first, int last);
    void setImage(int index, std::unique_ptr<CImage> image);

private:
    CErrorResult loadRanges(CInputStream& stream);
    CErrorResult loadTexture(CInputStream& stream);
    CErrorResult loadPage(CInputStream& stream);
    CErrorResult loadImages(CInputStream& stream);
    CErrorResult loadLayer(CInputStream& stream, CImage& image);
    CErrorResult loadLayerData(CInputStream& stream, CImageLayerData& data);
    CErrorResult loadRuns(CInputStream& stream, CImageLayerData& data);
    CErrorResult checkTexture(const CImageLayerData& data) const;
    CErrorResult savePage(COutputStream& stream, const CImagePage& page) const;
    CErrorResult saveLayer(COutputStream& stream, const CImageLayer& layer) const;

    CMap<CString, CRange> ranges;
    CVector<std::unique_ptr<CImage>, 0> images;
    std::unique_ptr<CImageTexture> texture;
};

} // namespace lum
