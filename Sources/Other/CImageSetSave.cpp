#include "Other/CImageAtlas.h"

// The writing of `.is` data, for the tools that build sets.

namespace lum {

namespace {

constexpr uint32_t kVersion = 1;

/// Writes numbers of 16 bits.
template <class... Values>
CErrorResult writeShorts(COutputStream& stream, Values... values) {
    for (const int value : {values...}) LUM_TRY(stream.writeValue(static_cast<int16_t>(value)));
    return nullptr;
}

CErrorResult writeCount(COutputStream& stream, size_t count) {
    return stream.writeValue(static_cast<uint32_t>(count));
}

} // namespace

CErrorResult CImageSet::save(COutputStream& stream) {
    CVector<CImageLayer*, 0> layers;
    size_t imageCount = 0;
    for (const auto& image : images) {
        imageCount += image ? 1 : 0;
        if (image)
            for (const auto& layer : image->layers) layers.push_back(layer.get());
    }
    if (!texture) texture = std::make_unique<CImageTexture>();
    buildAtlas(layers, *texture, *this);

    LUM_TRY(stream.writeValue(kVersion));
    LUM_TRY(writeCount(stream, ranges.size()));
    for (const auto& [name, range] : ranges) {
        LUM_TRY(stream.writeString(name));
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(range.first)));
        LUM_TRY(stream.writeValue(static_cast<uint32_t>(range.last)));
    }
    LUM_TRY(stream.writeValue(static_cast<uint16_t>(texture->pages.empty() ? 0 : 1)));
    if (!texture->pages.empty())
        LUM_TRY(stream.writeValue(static_cast<uint16_t>(texture->pages.size())));
    for (const auto& page : texture->pages) LUM_TRY(savePage(stream, *page));
    LUM_TRY(writeCount(stream, imageCount));
    for (int index = 0; index < images.ssize(); index++) {
        if (!images[index]) continue;
        LUM_TRY(writeCount(stream, static_cast<size_t>(index)));
        LUM_TRY(writeShorts(stream, images[index]->layers.ssize()));
        for (const auto& layer : images[index]->layers) LUM_TRY(saveLayer(stream, *layer));
    }
    return nullptr;
}

CErrorResult CImageSet::savePage(COutputStream& stream, const CImagePage& page) const {
    LUM_TRY(stream.writeValue(page.scale));
    LUM_TRY(writeShorts(stream, page.width, page.height, page.bytesPerPixel));
    LUM_TRY(stream.writeCompressedDataLZ4(page.pixels, kImagePageBlock));
    return nullptr;
}

CErrorResult CImageSet::saveLayer(COutputStream& stream, const CImageLayer& layer) const {
    LUM_TRY(stream.writeValue(static_cast<uint16_t>(layer.colorSlot)));
    LUM_TRY(writeShorts(stream, 1));
    LUM_TRY(stream.writeValue(layer.scale));
    LUM_TRY(stream.writeValue(layer.scale));
    LUM_TRY(writeShorts(stream, layer.width, layer.height, layer.offsetX, layer.offsetY,
                        layer.extraWidth, layer.extraHeight, layer.alignFlags, layer.toneIndex));
    LUM_TRY(stream.writeValue(layer.advance));
    LUM_TRY(writeShorts(stream, layer.bytesPerPixel, layer.textureIndex));
    if (layer.textureIndex >= 0) {
        LUM_TRY(writeShorts(stream, layer.textureX, layer.textureY));
        return nullptr;
    }
    // A layer without any pixels is an empty block.
    CByteBuffer none;
    if (!layer.runs()) none = encodeRuns(nullptr, 0, layer.height, 0, layer.bytesPerPixel);
    const uint8_t* runs = layer.runs() ? layer.runs() : none.data();
    const size_t size = layer.runs() ? layer.runSize() : none.size();
    LUM_TRY(writeCount(stream, size));
    LUM_TRY(stream.write(runs, static_cast<int64_t>(size)));
    return nullptr;
}

} // namespace lum
