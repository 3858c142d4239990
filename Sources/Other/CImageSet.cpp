#include "Other/CImageSet.h"

#include "Core/CLog.h"

#include <algorithm>
#include <cmath>

// The set and the reading of `.is` data. Nothing that a file says is believed: each size is checked
// against the bytes that are left before memory is taken, and each row of runs is walked once, so
// that drawing needs no checks.

namespace lum {

namespace {

constexpr uint32_t kVersion = 1;
constexpr uint32_t kHighestIndex = 0x10FFFF; // of an image; fonts number theirs by code point
constexpr double kLargestScale = 64.0;       // pixels per interface unit
constexpr double kLargestAdvance = 32767.0;  // pixels
constexpr int64_t kScaleEntry = 8;           // bytes of a scale in a layer's list

bool isPixelSize(int bytesPerPixel) {
    return bytesPerPixel == 1 || bytesPerPixel == 2 || bytesPerPixel == 4;
}

bool isScale(double scale) {
    return scale >= 1.0 / kLargestScale && scale <= kLargestScale;
}

CErrorResult readShort(CInputStream& stream, int& out) {
    int16_t value = 0;
    LUM_TRY(stream.readValue(value));
    out = value;
    return nullptr;
}

/// Reads 16-bit numbers into a list of members.
template <class... Members>
CErrorResult readShorts(CInputStream& stream, Members&... members) {
    CErrorResult error;
    ((error = error ? std::move(error) : readShort(stream, members)), ...);
    LUM_TRY(std::move(error));
    return nullptr;
}

} // namespace

uint32_t CImageSet::getTypeCode() const {
    return blockId("imgs");
}

const CImagePage* CImageSet::getTexture(int index) const {
    return texture && index >= 0 && index < texture->pages.ssize() ? texture->pages[index].get()
                                                                   : nullptr;
}

void CImageSet::clear() {
    ranges.clear();
    images.clear();
    texture.reset();
}

int CImageSet::findRange(const CString& name) const {
    auto found = ranges.find(name);
    if (found != ranges.end()) return found->second.first;
    if (!name.empty()) logFormat("Range not found <%s>", name.toUtf8().c_str());
    return 0;
}

const CImage* CImageSet::getImage(int index) const {
    return index >= 0 && index < images.ssize() ? images[index].get() : nullptr;
}

void CImageSet::setRange(const CString& name, int first, int last) {
    ranges[name] = {first, last};
}

void CImageSet::setImage(int index, std::unique_ptr<CImage> image) {
    if (index < 0) return;
    const size_t needed = static_cast<size_t>(index) + 1;
    // In steps: a font has its images at ever higher indices.
    if (needed > images.capacity()) images.reserve(needed + needed * 10 / 16);
    if (needed > images.size()) images.resize(needed);
    images[index] = std::move(image);
}

// ---- Loading

CErrorResult CImageSet::load(CPosInputStream& stream) {
    clear();
    uint32_t version = 0;
    LUM_TRY(stream.readValue(version));
    if (version != kVersion) return nullptr;
    LUM_TRY(loadRanges(stream));
    LUM_TRY(loadTexture(stream));
    LUM_TRY(loadImages(stream));
    return nullptr;
}

CErrorResult CImageSet::loadRanges(CInputStream& stream) {
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    for (uint32_t i = 0; i < count; i++) {
        CString name;
        uint32_t first = 0;
        uint32_t last = 0;
        LUM_TRY(stream.readString(name));
        LUM_TRY(stream.readValue(first));
        LUM_TRY(stream.readValue(last));
        // Beyond the highest index there is no image, and a view can still add its own offset.
        setRange(name, static_cast<int>(std::min(first, kHighestIndex + 1)),
                 static_cast<int>(std::min(last, kHighestIndex + 1)));
    }
    return nullptr;
}

CErrorResult CImageSet::loadTexture(CInputStream& stream) {
    uint16_t hasTexture = 0;
    LUM_TRY(stream.readValue(hasTexture));
    if (hasTexture == 0) return nullptr;
    texture = std::make_unique<CImageTexture>();
    uint16_t pageCount = 0;
    LUM_TRY(stream.readValue(pageCount));
    for (int i = 0; i < pageCount; i++) LUM_TRY(loadPage(stream));
    return nullptr;
}

CErrorResult CImageSet::loadPage(CInputStream& stream) {
    auto page = std::make_unique<CImagePage>();
    LUM_TRY(stream.readValue(page->scale));
    LUM_TRY(readShorts(stream, page->width, page->height, page->bytesPerPixel));
    if (page->width < 0 || page->height < 0 || !isPixelSize(page->bytesPerPixel))
        return LUM_FAIL("@lumstr_CImageSet_loadPage_InvalidPage Invalid atlas page (%1 x %2 pixels "
                        "of %3 bytes).",
                        page->width, page->height, page->bytesPerPixel);
    LUM_TRY(stream.readCompressedDataLZ4(page->pixels, kImagePageBlock));
    const size_t expected = static_cast<size_t>(page->width) * static_cast<size_t>(page->height) *
                            static_cast<size_t>(page->bytesPerPixel);
    if (page->pixels.size() != expected)
        return LUM_FAIL("@lumstr_CImageSet_loadPage_InvalidSize Invalid size of an atlas page "
                        "(expected %1 bytes, read %2).",
                        expected, page->pixels.size());
    texture->pages.push_back(std::move(page));
    return nullptr;
}

CErrorResult CImageSet::loadImages(CInputStream& stream) {
    uint32_t count = 0;
    LUM_TRY(stream.readValue(count));
    for (uint32_t i = 0; i < count; i++) {
        uint32_t index = 0;
        LUM_TRY(stream.readValue(index));
        if (index > kHighestIndex)
            return LUM_FAIL("@lumstr_CImageSet_loadImages_InvalidIndex Invalid image index %1.",
                            index);
        int layerCount = 0;
        LUM_TRY(readShorts(stream, layerCount));
        auto image = std::make_unique<CImage>();
        for (int layer = 0; layer < layerCount; layer++) LUM_TRY(loadLayer(stream, *image));
        setImage(static_cast<int>(index), std::move(image));
    }
    return nullptr;
}

CErrorResult CImageSet::loadLayer(CInputStream& stream, CImage& image) {
    uint16_t colorSlot = 0;
    int dataCount = 0;
    LUM_TRY(stream.readValue(colorSlot));
    LUM_TRY(readShorts(stream, dataCount));
    if (dataCount > 0) LUM_TRY(stream.skip(dataCount * kScaleEntry));
    auto layer = std::make_unique<CImageLayer>();
    layer->colorSlot = colorSlot;
    for (int i = 0; i < dataCount; i++) {
        CImageLayerData skipped;
        LUM_TRY(loadLayerData(stream, i == 0 ? *layer : skipped));
    }
    image.layers.push_back(std::move(layer));
    return nullptr;
}

CErrorResult CImageSet::loadLayerData(CInputStream& stream, CImageLayerData& data) {
    LUM_TRY(stream.readValue(data.scale));
    LUM_TRY(readShorts(stream, data.width, data.height, data.offsetX, data.offsetY, data.extraWidth,
                       data.extraHeight, data.alignFlags, data.toneIndex));
    LUM_TRY(stream.readValue(data.advance));
    LUM_TRY(readShorts(stream, data.bytesPerPixel, data.textureIndex));
    if (!isScale(data.scale) || data.width < 0 || data.height < 0 ||
        !(std::abs(data.advance) <= kLargestAdvance) || !isPixelSize(data.bytesPerPixel))
        return LUM_FAIL("@lumstr_CImageSet_loadLayerData_InvalidLayer Invalid image layer (%1 x %2 "
                        "pixels of %3 bytes).",
                        data.width, data.height, data.bytesPerPixel);
    data.invScale = 1.0 / data.scale;
    data.provider = this;
    if (data.textureIndex < 0) {
        LUM_TRY(loadRuns(stream, data));
        return nullptr;
    }
    LUM_TRY(readShorts(stream, data.textureX, data.textureY));
    LUM_TRY(checkTexture(data));
    return nullptr;
}

CErrorResult CImageSet::loadRuns(CInputStream& stream, CImageLayerData& data) {
    uint32_t size = 0;
    LUM_TRY(stream.readValue(size));
    const int64_t left = stream.bytesLeft();
    if (left >= 0 && size > left)
        return LUM_FAIL("@lumstr_CImageSet_loadRuns_EOF Premature end of file.");
    if (const void* place = size > 0 ? stream.getMemoryPointer() : nullptr) {
        LUM_TRY(stream.skip(size));
        data.setRunsInPlace(static_cast<const uint8_t*>(place), size);
    } else {
        CByteBuffer bytes;
        bytes.resize(size);
        LUM_TRY(stream.read(bytes.data(), size));
        data.setRuns(std::move(bytes));
    }
    if (!checkRuns(data.runs(), data.runSize(), data.width, data.height, data.bytesPerPixel))
        return LUM_FAIL("@lumstr_CImageSet_loadRuns_InvalidData Invalid runs of an image layer "
                        "(%1 x %2 pixels, %3 bytes).",
                        data.width, data.height, size);
    return nullptr;
}

CErrorResult CImageSet::checkTexture(const CImageLayerData& data) const {
    const CImagePage* page = getTexture(data.textureIndex);
    const bool isInside = page && page->bytesPerPixel == data.bytesPerPixel && data.textureX >= 0 &&
                          data.textureY >= 0 && data.textureX + data.width <= page->width &&
                          data.textureY + data.height <= page->height;
    if (!isInside)
        return LUM_FAIL("@lumstr_CImageSet_checkTexture_OutOfPage Image layer lies outside atlas "
                        "page %1.",
                        data.textureIndex);
    return nullptr;
}

} // namespace lum
