#pragma once

#include "Other/CTextWrapper.h"

#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>

/// A picture of full coverage, of a given size in data pixels of scale 2.
inline std::unique_ptr<lum::CImage> blockImage(int width, int height, double advance,
                                               int offsetY = 0) {
    auto layer = std::make_unique<lum::CImageLayer>();
    layer->scale = 2.0;
    layer->invScale = 0.5;
    layer->width = width;
    layer->height = height;
    layer->offsetY = offsetY;
    layer->advance = advance;
    lum::CByteBuffer pixels;
    pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    std::memset(pixels.data(), 255, pixels.size());
    layer->setPixels(std::move(pixels), 255);
    auto image = std::make_unique<lum::CImage>();
    image->layers.push_back(std::move(layer));
    return image;
}

/// A font of blocks: all printable ASCII characters but "~" are `advance` data pixels wide, the
/// space 8.
inline std::unique_ptr<lum::CFont> blockFont(double advance = 12.0) {
    auto font = std::make_unique<lum::CFont>();
    font->ascent = 10.0;
    font->descent = 4.0;
    font->lineGap = 1.0;
    font->capHeight = 8.0;
    for (char16_t code = u'!'; code < u'~'; code++)
        font->setImage(code, blockImage(8, 16, advance, -16));
    font->setImage(u' ', blockImage(0, 0, 8.0));
    return font;
}

/// Images by "set#range".
class CNamedImages : public lum::CTextImageSource {
public:
    const lum::CImage* findTextImage(const lum::CString& setPath,
                                     const lum::CString& range) override {
        auto found = images.find(setPath.toUtf8() + "#" + range.toUtf8());
        return found == images.end() ? nullptr : found->second.get();
    }
    std::map<std::string, std::unique_ptr<lum::CImage>> images;
};

/// A wrapper with a font whose letters are 6 pixels wide and spaces 4, and lines 14 high.
class CTextTest : public testing::Test {
protected:
    CTextTest() {
        family.setFont(lum::FontStyle::Regular, blockFont());
        images.images["is.button#HR"] = blockImage(20, 6, 0.0);
        images.images["set#dot"] = blockImage(11, 10, 0.0);
        images.images["set#tall"] = blockImage(20, 60, 0.0);
        prepare(wrapper);
    }
    void prepare(lum::CTextWrapper& prepared) {
        EXPECT_FALSE(prepared.setFontObject(&family));
        prepared.setImageSource(&images);
    }
    void setWidth(double width) {
        inputs.isWrapped = true;
        inputs.width = width;
    }
    /// Lays the text out alone.
    void show(const std::string& text) {
        wrapper.clear();
        wrapper.setInputs(inputs);
        wrapper.addParagraph(lum::CString::fromUtf8(text));
        wrapper.layout();
    }
    const lum::CTextLine& line(int index) { return *wrapper.getLines()[index]; }
    /// The drawn characters of the lines with "|" between; "@" is an image.
    static std::string linesOf(const lum::CTextWrapper& shown) {
        std::string out;
        for (const lum::CTextLine* each : shown.getLines()) {
            const lum::CString& text = shown.getParagraph(each->paragraphIndex).displayText;
            if (!out.empty() || each != shown.getLines()[0]) out += '|';
            for (const lum::CTextCharacter& character : each->characters)
                out += character.isGlyph
                           ? static_cast<char>(text.at(static_cast<size_t>(character.sourceIndex)))
                           : '@';
        }
        return out;
    }

    lum::CFontObject family;
    CNamedImages images;
    lum::CTextLayoutInputs inputs;
    lum::CTextWrapper wrapper;
};
