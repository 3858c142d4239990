// sorrel-fontc: builds a bitmap font from a manifest and outline fonts.

#include "Core/CWriteSeqBuffer.h"
#include "Fonts/GlyphRenderer.h"
#include "Other/CFont.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

namespace {

void takeMetrics(const FontManifest& manifest, lum::CFont& font) {
    font.ascent = manifest.ascent;
    font.descent = manifest.descent;
    font.lineGap = manifest.lineGap;
    font.capHeight = manifest.capHeight;
}

int addGlyphs(const FontManifest& manifest, const GlyphRenderer& renderer, lum::CFont& font) {
    int count = 0;
    for (const auto& [first, last] : manifest.ranges)
        for (int code = first; code <= last; code++) {
            auto image = renderer.render(static_cast<char16_t>(code));
            if (!image) continue;
            font.setImage(code, std::move(image));
            count++;
        }
    return count;
}

/// Gives all figures the advance of the widest, so that a changing number keeps its place.
void alignFigures(lum::CFont& font) {
    double widest = 0.0;
    for (char16_t code = u'0'; code <= u'9'; code++)
        if (const lum::CImage* figure = font.getGlyph(code))
            widest = std::max(widest, figure->layers[0]->advance);
    for (char16_t code = u'0'; code <= u'9'; code++) {
        const lum::CImage* figure = font.getGlyph(code);
        if (!figure) continue;
        lum::CImageLayer& layer = *figure->layers[0];
        layer.offsetX += static_cast<int>(std::lround((widest - layer.advance) / 2.0));
        layer.advance = widest;
    }
}

void writeFont(lum::CFont& font, const std::string& path) {
    lum::CWriteSeqBuffer bytes;
    if (lum::CErrorResult error = font.save(bytes))
        throw std::runtime_error(error.line(0).toUtf8());
    lum::CByteBuffer whole;
    bytes.getBytes(whole);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(whole.data()),
               static_cast<std::streamsize>(whole.size()));
    if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Builds a bitmap font from a manifest and outline fonts.");
    std::string manifestPath;
    std::string outPath;
    std::string folder = "/usr/share/fonts";
    app.add_option("manifest", manifestPath, "The .font file")->required();
    app.add_option("out", outPath, "The .fnt file to write")->required();
    app.add_option("--fonts", folder, "Folder that the faces lie below");
    CLI11_PARSE(app, argc, argv);
    try {
        const FontManifest manifest = readFontManifest(manifestPath);
        const GlyphRenderer renderer(manifest, folder);
        lum::CFont font;
        takeMetrics(manifest, font);
        const int count = addGlyphs(manifest, renderer, font);
        if (manifest.isTabular) alignFigures(font);
        writeFont(font, outPath);
        std::printf("%s: %d glyphs, capitals %.2f of %.2f\n", outPath.c_str(), count,
                    renderer.measureCapital() / manifest.scale, manifest.capHeight);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sorrel-fontc: %s\n", error.what());
        return 1;
    }
    return 0;
}
