// sorrel-isc: builds an image set from a manifest and vector drawings.

#include "Core/CWriteSeqBuffer.h"
#include "Images/Drawing.h"
#include "Other/CImageSet.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>

namespace {

using Images = std::map<int, std::unique_ptr<lum::CImage>>;

int round(double value) {
    return static_cast<int>(std::lround(value));
}

std::unique_ptr<lum::CImageLayer> makeLayer(const LayerCut& cut, const Drawing& drawing,
                                            double scale) {
    auto layer = std::make_unique<lum::CImageLayer>();
    layer->scale = scale;
    layer->invScale = 1.0 / scale;
    layer->bytesPerPixel = static_cast<int>(cut.kind);
    layer->offsetX = round(-cut.originX * scale);
    layer->offsetY = round(-cut.originY * scale);
    layer->extraWidth = round(cut.extraWidth * scale);
    layer->extraHeight = round(cut.extraHeight * scale);
    layer->alignFlags = cut.alignFlags;
    layer->colorSlot = cut.slot;
    const std::vector<uint8_t> pixels =
        drawing.cut(cut.rect, cut.kind, layer->width, layer->height);
    layer->setPixels(lum::CByteBuffer(pixels.data(), pixels.size()), cut.tone);
    return layer;
}

Images makeImages(const ImageManifest& manifest) {
    std::map<std::string, Drawing> drawings;
    Images images;
    for (const LayerCut& cut : manifest.cuts) {
        try {
            const Drawing& drawing =
                drawings.try_emplace(cut.drawing, cut.drawing, manifest.scale).first->second;
            std::unique_ptr<lum::CImage>& image = images[cut.image];
            if (!image) image = std::make_unique<lum::CImage>();
            image->layers.push_back(makeLayer(cut, drawing, manifest.scale));
        } catch (const std::exception& error) {
            throw manifest.fault(cut.line, error.what());
        }
    }
    return images;
}

void writeSet(lum::CImageSet& set, const std::string& path) {
    lum::CWriteSeqBuffer bytes;
    if (lum::CErrorResult error = set.save(bytes)) throw ImageError(error.line(0).toUtf8());
    lum::CByteBuffer whole;
    bytes.getBytes(whole);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(whole.data()),
               static_cast<std::streamsize>(whole.size()));
    if (!file.flush()) throw ImageError(path + ": cannot be written");
    std::printf("%s: %zu bytes\n", path.c_str(), whole.size());
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Builds an image set from a manifest and vector drawings.");
    std::string manifestPath;
    std::string outPath;
    app.add_option("manifest", manifestPath, "The .images file")->required();
    app.add_option("out", outPath, "The .is file to write")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        const ImageManifest manifest = readImageManifest(manifestPath);
        lum::CImageSet set;
        for (const NamedRange& range : manifest.ranges)
            set.setRange(lum::CString(range.name.c_str()), range.first, range.last);
        for (auto& [index, image] : makeImages(manifest)) set.setImage(index, std::move(image));
        writeSet(set, outPath);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sorrel-isc: %s\n", error.what());
        return 1;
    }
    return 0;
}
