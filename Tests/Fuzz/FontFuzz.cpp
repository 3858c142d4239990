#include "Core/CMemoryReader.h"
#include "Other/CTextDrawing.h"

using namespace lum;

namespace {

constexpr int kLargestSide = 300; // pixels; bigger glyphs cost time and try nothing else

bool isTooLarge(const CFont& font) {
    for (int i = 0; i < font.getImageLimit(); i++) {
        const CImage* image = font.getImage(i);
        if (!image) continue;
        for (const auto& layer : image->layers)
            if (layer->width > kLargestSide || layer->height > kLargestSide || layer->scale < 0.5)
                return true;
    }
    return false;
}

/// Lays a text out in the font, wrapped and not, and draws it.
void showText(const CFontObject& family) {
    CLinearBitmap bitmap;
    if (bitmap.setSize(64, 64, true)) return;
    for (const bool isWrapped : {false, true}) {
        CTextWrapper wrapper;
        CTextLayoutInputs inputs;
        inputs.isWrapped = isWrapped;
        inputs.width = 60.0;
        inputs.align = TextAlign::Justify;
        wrapper.setInputs(inputs);
        if (wrapper.setFontObject(&family)) return;
        wrapper.addParagraph("A ab [B]AB[/B] !\"# [SUP]0123");
        wrapper.layout();
        CTextDrawing drawing;
        drawing.prepare(wrapper, {});
        drawing.draw(bitmap, 2, 2, bitmap.bounds());
    }
}

} // namespace

/// Loads the bytes as a font and shows a text in it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto font = std::make_unique<CFont>();
    CMemoryReaderStatic stream(data, static_cast<int32_t>(size));
    if (font->load(stream) || isTooLarge(*font)) return 0;
    CFontObject family;
    family.setFont(FontStyle::Regular, std::move(font));
    showText(family);
    return 0;
}
