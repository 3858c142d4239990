#include "Other/CFont.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>

using namespace lum;

namespace {

constexpr int kFirstIndex = 32;
constexpr int kLastIndex = 8710;

void loadShipped(const std::string& name, CFont& font) {
    ASSERT_FALSE(font.loadFromResource(CString::fromUtf8(LUM_GRAPHICS "/" + name + ".fnt")))
        << name;
}

const char* const kFonts[] = {"base",  "base_b",   "compact", "compact-small",
                              "micro", "micro-sm", "small",   "title"};

/// Brightest pixel of a prepared glyph in the rows from `top` on, counted from the baseline.
int brightestFrom(const CImage& glyph, double scale, int top) {
    CLinearBitmap bitmap;
    EXPECT_FALSE(bitmap.setSize(80, 120, true));
    const auto place = CImagePlacement::prepare(*glyph.layers[0], scale, {}, 1.0);
    bitmap.drawImage(place, 10, 80, bitmap.bounds());
    int brightest = 0;
    for (int y = 80 + top; y < 120; y++)
        brightest = std::max<int>(brightest, *std::max_element(bitmap.row(y), bitmap.row(y) + 320));
    return brightest;
}

} // namespace

TEST(ShippedFont, everyFontHasTheLettersOfItsLanguages) {
    const int ranges[][2] = {{0x20, 0x7E},     {0xA0, 0x17F},    {0x391, 0x3A1},
                             {0x3A3, 0x3CE},   {0x400, 0x45F},   {0x2013, 0x2014},
                             {0x2018, 0x201E}, {0x2020, 0x2022}, {0x2026, 0x2026},
                             {0x20AC, 0x20AC}, {0x2190, 0x2195}, {0x2206, 0x2206}};
    for (const char* name : kFonts) {
        CFont font;
        loadShipped(name, font);
        EXPECT_EQ(font.getImageLimit(), kLastIndex + 1) << name;
        for (int i = 0; i < kFirstIndex; i++) EXPECT_EQ(font.getImage(i), nullptr);
        for (const auto& range : ranges)
            for (int code = range[0]; code <= range[1]; code++)
                EXPECT_NE(font.getGlyph(static_cast<char16_t>(code)), nullptr) << name << code;
        for (int i = 0; i < font.getImageLimit(); i++) {
            if (!font.getImage(i)) continue;
            const CImageLayer& layer = *font.getImage(i)->layers[0];
            EXPECT_EQ(layer.scale, 2.0);
            EXPECT_EQ(layer.bytesPerPixel, 1);
            EXPECT_EQ(layer.toneIndex, 255);
            EXPECT_EQ(layer.textureIndex >= 0, layer.width > 0) << name << i;
        }
    }
}

TEST(ShippedFont, metricsAreThoseOfTheInterface) {
    const struct {
        const char* name;
        double metrics[4];
    } cases[] = {{"base", {14.5, 3.25, 3.0, 10.5}},
                 {"title", {16.625, 4.75, 3.5, 12.5}},
                 {"micro-sm", {12.375, 3.625, 2.0, 9.0}}};
    for (const auto& each : cases) {
        CFont font;
        loadShipped(each.name, font);
        const double found[] = {font.ascent, font.descent, font.lineGap, font.capHeight};
        for (int i = 0; i < 4; i++) EXPECT_EQ(found[i], each.metrics[i]) << each.name << i;
    }
    CFont base;
    loadShipped("base", base);
    EXPECT_EQ(base.getGlyph(u' ')->layers[0]->advance, 8.25);
}

// A blurred baseline is what makes scaled text look soft.
TEST(ShippedFont, capitalsStandOnThePixelGridAtEveryScale) {
    for (const char* name : kFonts) {
        CFont font;
        loadShipped(name, font);
        for (const double scale : {0.8, 1.0, 1.25, 1.5, 1.75, 2.0}) {
            const CImage& capital = *font.getGlyph(u'H');
            EXPECT_LT(brightestFrom(capital, scale, 0), 48) << name << " at " << scale;
            EXPECT_GT(brightestFrom(capital, scale, -1), 140) << name << " at " << scale;
            const int height = static_cast<int>(std::ceil(font.capHeight * scale)) + 1;
            EXPECT_GE(brightestFrom(capital, scale, -height), brightestFrom(capital, scale, -1));
        }
        const CImageLayer& capital = *font.getGlyph(u'H')->layers[0];
        EXPECT_NEAR((capital.height - 4) / 2.0, font.capHeight, 0.5) << name;
    }
}

TEST(ShippedFont, readoutsHaveFiguresOfEqualWidth) {
    for (const char* name : {"micro", "micro-sm"}) {
        CFont font;
        loadShipped(name, font);
        for (char16_t code = u'1'; code <= u'9'; code++)
            EXPECT_EQ(font.getGlyph(code)->layers[0]->advance,
                      font.getGlyph(u'0')->layers[0]->advance);
    }
}
