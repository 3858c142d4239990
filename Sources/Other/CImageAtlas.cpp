#include "Other/CImageAtlas.h"

#include "Other/CAreaFitter.h"

#include <cstring>
#include <utility>

namespace lum {

namespace {

constexpr int kPadding = 5;   // pixels added to both sides of a rectangle
constexpr int kPageStart = 2; // pixels between a padded rectangle's corner and its image

using CGroup = CVector<CImageLayer*, 0>;

void copyPixels(const CImageLayer& layer, CImagePage& page, int x, int y) {
    const CPixelSource source = layer.getPixels();
    const auto bytes = static_cast<size_t>(layer.width * layer.bytesPerPixel);
    const size_t pageStride = static_cast<size_t>(page.width * page.bytesPerPixel);
    for (int row = 0; row < layer.height; row++)
        std::memcpy(page.pixels.data() + static_cast<size_t>(y + row) * pageStride +
                        static_cast<size_t>(x * layer.bytesPerPixel),
                    source.pixels + static_cast<ptrdiff_t>(row) * source.stride, bytes);
}

void addPages(const CGroup& group, const CAreaFitter& fitter, CImageTexture& texture) {
    for (const CFitPage& fit : fitter.getPages()) {
        CImagePage& page = *texture.pages.push_back(std::make_unique<CImagePage>());
        page.scale = group[0]->scale;
        page.width = fit.width;
        page.height = fit.height;
        page.bytesPerPixel = group[0]->bytesPerPixel;
        page.pixels.resize(static_cast<size_t>(page.width) * static_cast<size_t>(page.height) *
                           static_cast<size_t>(page.bytesPerPixel));
        std::memset(page.pixels.data(), 0, page.pixels.size());
    }
}

void fitGroup(const CGroup& group, CImageTexture& texture, const CImageTextureProvider& provider) {
    CAreaFitter fitter;
    for (const CImageLayer* layer : group)
        fitter.add(layer->width + kPadding, layer->height + kPadding);
    if (!fitter.fitAreas()) return;
    const int firstPage = texture.pages.ssize();
    addPages(group, fitter, texture);
    for (int i = 0; i < group.ssize(); i++) {
        const CFitArea& area = fitter.getAreas()[i];
        CImageLayer& layer = *group[i];
        copyPixels(layer, *texture.pages[firstPage + area.page], area.x + kPageStart,
                   area.y + kPageStart);
        layer.dropPixels();
        layer.textureIndex = firstPage + area.page;
        layer.textureX = area.x + kPageStart;
        layer.textureY = area.y + kPageStart;
        layer.provider = &provider;
    }
}

} // namespace

void buildAtlas(const CVector<CImageLayer*, 0>& layers, CImageTexture& texture,
                const CImageTextureProvider& provider) {
    CMap<std::pair<double, int>, CGroup> groups;
    for (CImageLayer* layer : layers)
        if (layer->hasOwnPixels()) groups[{layer->scale, layer->bytesPerPixel}].push_back(layer);
    for (const auto& [key, group] : groups) fitGroup(group, texture, provider);
}

} // namespace lum
