#include "Fonts/GlyphRenderer.h"

#include <cmath>
#include <cstring>
#include <ft2build.h>
#include <stdexcept>
#include FT_FREETYPE_H

namespace {

// Empty pixels around a glyph. The scaler repeats the outermost pixels of a picture; with these
// they are transparent, so that an edge stays as soft as it was drawn.
constexpr int kMargin = 2;
constexpr double kFixedUnit = 64.0;     // 26.6 numbers
constexpr double kLinearUnit = 65536.0; // 16.16 numbers
constexpr FT_UInt kPointsPerInch = 72;  // makes a point a pixel

} // namespace

GlyphRenderer::GlyphRenderer(const FontManifest& given, const std::string& folder)
    : manifest(given) {
    if (FT_Init_FreeType(&library)) throw std::runtime_error("the font library does not start");
    for (const std::string& face : manifest.faces) openFace(folder + "/" + face);
}

GlyphRenderer::~GlyphRenderer() {
    for (FT_Face face : faces) FT_Done_Face(face);
    FT_Done_FreeType(library);
}

void GlyphRenderer::openFace(const std::string& path) {
    FT_Face face = nullptr;
    if (FT_New_Face(library, path.c_str(), 0, &face))
        throw std::runtime_error(path + ": not a font, or not there");
    faces.push_back(face);
    const auto height = static_cast<FT_F26Dot6>(std::lround(manifest.size * kFixedUnit));
    const auto width =
        static_cast<FT_F26Dot6>(std::lround(manifest.size * manifest.width * kFixedUnit));
    if (FT_Select_Charmap(face, FT_ENCODING_UNICODE) ||
        FT_Set_Char_Size(face, width, height, kPointsPerInch, kPointsPerInch))
        throw std::runtime_error(path + ": no code points, or no such size");
}

FT_Face GlyphRenderer::findFace(char16_t code) const {
    for (FT_Face face : faces)
        if (FT_Get_Char_Index(face, code) != 0) return face;
    return nullptr;
}

std::unique_ptr<lum::CImage> GlyphRenderer::render(char16_t code) const {
    FT_Face face = findFace(code);
    if (!face) return nullptr;
    // Light hinting moves outlines vertically alone; the strokes keep their place along the line.
    const FT_Int32 hinting =
        manifest.isHinted ? FT_LOAD_TARGET_LIGHT | FT_LOAD_FORCE_AUTOHINT : FT_LOAD_NO_HINTING;
    if (FT_Load_Char(face, code, FT_LOAD_RENDER | FT_LOAD_NO_BITMAP | hinting))
        throw std::runtime_error("glyph " + std::to_string(code) + " cannot be drawn");

    const FT_GlyphSlot slot = face->glyph;
    auto layer = std::make_unique<lum::CImageLayer>();
    layer->scale = manifest.scale;
    layer->invScale = 1.0 / manifest.scale;
    layer->bytesPerPixel = 1;
    layer->toneIndex = 255;
    layer->advance = static_cast<double>(slot->linearHoriAdvance) / kLinearUnit + manifest.tracking;
    if (slot->linearHoriAdvance == 0) layer->advance = 0.0; // a mark on the letter before it
    if (code == u' ' && manifest.space > 0.0) layer->advance = manifest.space;
    layer->advance = std::round(layer->advance * kFixedUnit) / kFixedUnit;
    if (slot->bitmap.width > 0 && slot->bitmap.rows > 0) {
        layer->width = static_cast<int>(slot->bitmap.width) + 2 * kMargin;
        layer->height = static_cast<int>(slot->bitmap.rows) + 2 * kMargin;
        layer->offsetX = slot->bitmap_left - kMargin;
        layer->offsetY = -slot->bitmap_top - kMargin;
        layer->setPixels(copyCoverage(*face, layer->width, layer->height), 255);
    }
    auto image = std::make_unique<lum::CImage>();
    image->layers.push_back(std::move(layer));
    return image;
}

lum::CByteBuffer GlyphRenderer::copyCoverage(const FT_FaceRec& face, int width, int height) const {
    const FT_Bitmap& bitmap = face.glyph->bitmap;
    lum::CByteBuffer pixels;
    pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    std::memset(pixels.data(), 0, pixels.size());
    for (int y = 0; y < height - 2 * kMargin; y++) {
        const uint8_t* source = bitmap.buffer + static_cast<ptrdiff_t>(y) * bitmap.pitch;
        uint8_t* target = pixels.data() + static_cast<ptrdiff_t>(y + kMargin) * width + kMargin;
        for (int x = 0; x < width - 2 * kMargin; x++)
            target[x] = static_cast<uint8_t>(
                std::lround(255.0 * std::pow(source[x] / 255.0, manifest.contrast)));
    }
    return pixels;
}

double GlyphRenderer::measureCapital() const {
    const std::unique_ptr<lum::CImage> capital = render(u'H');
    return capital ? capital->layers.front()->height - 2.0 * kMargin : 0.0;
}
