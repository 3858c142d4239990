#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CDataSet.h"
#include "Core/CString.h"
#include "Other/CLinearBitmap.h"

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

/// One layer at one scale. Pixels are 1 byte (alpha; palette entry 255), 2 (palette index, alpha)
/// or 4 (blue, green, red, alpha), either run-coded or a rectangle of an atlas page.
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
    void setRunsInPlace(const uint8_t* bytes, size_t count);

private:
    CByteBuffer ownedRuns;
    const uint8_t* runBytes = nullptr;
    size_t runByteCount = 0;
};

/// A layer of an image: its stored data, its colour slot and the variants prepared so far.
class CImageLayer : public CImageLayerData {
public:
    int colorSlot = 0;

    /// The drawable (run-coded) form at a scale, built on first use. Any thread.
    const CImageLayerData* getVariant(double requestedScale) const;

private:
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

    /// Places a layer; `opacity` is multiplied by the colour's. Does not build the variant.
    static CImagePlacement place(const CImageLayerData& layer, double requestedScale,
                                 const CDrawColor& color, double opacity);
    /// Places a layer and fetches its variant.
    static CImagePlacement prepare(const CImageLayer& layer, double requestedScale,
                                   const CDrawColor& color, double opacity);
};

/// Encodes pixels as a run-coded block. `pixels`: `height` rows of `width` * `bytesPerPixel`.
CByteBuffer encodeRuns(const uint8_t* pixels, int width, int height, int bytesPerPixel,
                       bool isWhollyOpaque = false);
/// True when a block from outside can be drawn without reading beyond it.
bool checkRuns(const uint8_t* block, size_t size, int width, int height, int bytesPerPixel);

/// A set of images by index, with named ranges. Filled once at load and read-only afterwards, but
/// for the variants of its layers.
class CImageSet : public CDataSet, public CImageTextureProvider {
public:
    struct CRange {
        int first = 0;
        int last = 0;
    };

    uint32_t getTypeCode() const override;
    CErrorResult load(CInputStream& stream) override;
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
    friend class CFont;
    CMap<CString, CRange> ranges;
    CVector<std::unique_ptr<CImage>, 0> images;
    std::unique_ptr<CImageTexture> texture;
};

} // namespace lum
