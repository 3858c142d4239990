#pragma once

#include "Fonts/FontManifest.h"
#include "Other/CImageSet.h"

#include <memory>

struct FT_FaceRec_;
struct FT_LibraryRec_;

/// Draws glyphs of outline fonts as pictures of a bitmap font.
class GlyphRenderer {
public:
    /// folder: where the faces lie. Throws std::runtime_error for a face that cannot be used.
    GlyphRenderer(const FontManifest& manifest, const std::string& folder);
    ~GlyphRenderer();
    GlyphRenderer(const GlyphRenderer&) = delete;
    GlyphRenderer& operator=(const GlyphRenderer&) = delete;

    /// The picture of a code point, null when no face has it.
    std::unique_ptr<lum::CImage> render(char16_t code) const;
    /// Height of a capital as drawn, data pixels.
    double measureCapital() const;

private:
    FT_FaceRec_* findFace(char16_t code) const;
    void openFace(const std::string& path);
    lum::CByteBuffer copyCoverage(const FT_FaceRec_& face, int width, int height) const;

    const FontManifest& manifest;
    FT_LibraryRec_* library = nullptr;
    std::vector<FT_FaceRec_*> faces;
};
