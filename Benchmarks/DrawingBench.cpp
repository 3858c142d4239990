// Fills, images and a line of text against pixman in one run, into bitmaps of 640 x 400 pixels. Our
// images are prepared, as they are when a frame is drawn; pixman's are premultiplied.
#include "BenchHarness.h"
#include "Other/CCurveStroke.h"
#include "Other/CImageSet.h"
#include "Other/PixelCode.h"

#include <cstring>
#include <pixman.h>

using namespace lum;
using namespace lum::bench;

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 400;
constexpr int kLetters = 26;
constexpr int kLetterWidth = 9;
constexpr int kLetterHeight = 13;
constexpr int kLineLength = 60; // letters

struct CPixels {
    int width;
    int height;
    std::vector<uint8_t> bytes; // 4 a pixel
};

/// A rounded button: soft shadow, an opaque body with a gradient.
CPixels makeButton(int width, int height) {
    CPixels out{width, height, {}};
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            const double border = height * 0.2;
            const double dx = std::max({border - x, x - (width - 1 - border), 0.0});
            const double dy = std::max({border - y, y - (height - 1 - border), 0.0});
            const double edge = border - std::hypot(dx, dy);
            const double body = std::clamp(edge - border * 0.4, 0.0, 1.0);
            const double shadow = std::clamp(edge / border, 0.0, 1.0) * 0.5;
            const int shade = 120 + 100 * y / height;
            out.bytes.push_back(static_cast<uint8_t>(shade * body));
            out.bytes.push_back(static_cast<uint8_t>(shade * body));
            out.bytes.push_back(static_cast<uint8_t>(shade * body));
            out.bytes.push_back(static_cast<uint8_t>(255 * std::max(body, shadow)));
        }
    return out;
}

/// A haze that is translucent everywhere.
CPixels makeHaze(int width, int height) {
    CPixels out{width, height, {}};
    for (int i = 0; i < width * height; i++)
        for (const int byte : {i % 256, i % 200, i % 99, 20 + i % 220})
            out.bytes.push_back(static_cast<uint8_t>(byte));
    return out;
}

/// Letters of three strokes each, as coverage.
std::vector<uint8_t> makeLetter(unsigned& state) {
    CLinearBitmap bitmap;
    if (bitmap.setSize(kLetterWidth, kLetterHeight, true)) return {};
    const CStrokeBrush brush(1.3);
    CCurvePoint points[4];
    for (CCurvePoint& point : points) {
        state = state * 1664525u + 1013904223u;
        point = {1.5 + state / 256 % 7, 2.0 + state / 65536 % 10};
    }
    bitmap.drawCurve(points, 4, {{}, 255, 1.0, &brush}, bitmap.bounds(), false);
    std::vector<uint8_t> out;
    for (int i = 0; i < kLetterWidth * kLetterHeight; i++) out.push_back(bitmap.row(0)[i * 4]);
    return out;
}

std::unique_ptr<CImageLayer> makeLayer(const std::vector<uint8_t>& pixels, int width, int height,
                                       int bytesPerPixel) {
    auto layer = std::make_unique<CImageLayer>();
    layer->scale = 2.0;
    layer->invScale = 0.5;
    layer->width = width;
    layer->height = height;
    layer->bytesPerPixel = bytesPerPixel;
    layer->setPixels({pixels.data(), pixels.size()});
    return layer;
}

/// The same as index and alpha.
std::vector<uint8_t> indexed(const CPixels& pixels) {
    std::vector<uint8_t> out;
    for (size_t i = 0; i < pixels.bytes.size(); i += 4) {
        out.push_back(pixels.bytes[i]);
        out.push_back(pixels.bytes[i + 3]);
    }
    return out;
}

pixman_image_t* makePixman(const CPixels& pixels) {
    pixman_image_t* image =
        pixman_image_create_bits(PIXMAN_a8r8g8b8, pixels.width, pixels.height, nullptr, 0);
    auto* to = reinterpret_cast<uint8_t*>(pixman_image_get_data(image));
    for (size_t i = 0; i < pixels.bytes.size(); i++) {
        const int alpha = pixels.bytes[i | 3];
        to[i] = static_cast<uint8_t>(i % 4 == 3 ? alpha : pixels.bytes[i] * alpha / 255);
    }
    return image;
}

pixman_image_t* makeSolid(int alpha) {
    const auto part = [alpha](int value) { return static_cast<uint16_t>(value * alpha); };
    const pixman_color_t color{part(200), part(150), part(100), part(255)};
    return pixman_image_create_solid_fill(&color);
}

/// One line of the report, the contestants being ours, our plain loops and pixman.
void report(const char* title, std::function<void()> ours, std::function<void()> theirs) {
    std::vector<CContestant> contestants{{"ours", ours},
                                         {"plain",
                                          [ours] {
                                              selectPixelCode(&plainPixelCode());
                                              ours();
                                              selectPixelCode(nullptr);
                                          }},
                                         {"pixman", theirs}};
    compare(contestants);
    std::printf("%-28s ours %9.0f ns   plain %9.0f ns   pixman %9.0f ns   pixman/ours %5.2f\n",
                title, contestants[0].median, contestants[1].median, contestants[2].median,
                contestants[2].median / contestants[0].median);
}

class CDrawingBench {
public:
    bool start() {
        for (auto& entry : table.entries)
            for (int c = 0; c < 4; c++)
                entry[c] = static_cast<uint8_t>((&entry - table.entries) / (c + 1));
        theirs = pixman_image_create_bits(PIXMAN_x8r8g8b8, kWidth, kHeight, nullptr, 0);
        return !ours.setSize(kWidth, kHeight, true);
    }

    void fills() {
        const CDrawColor color{1.0, &table};
        report(
            "solid fill 600x380",
            [&] {
                ours.fillRect({20, 10, 620, 390}, color, 200, 1.0);
            },
            [&] {
                pixman_fill(pixman_image_get_data(theirs), kWidth, 32, 20, 10, 600, 380,
                            0xFFC89664);
            });
        pixman_image_t* half = makeSolid(128);
        report(
            "half fill 600x380",
            [&] {
                ours.fillRect({20, 10, 620, 390}, color, 200, 0.5);
            },
            [&] {
                pixman_image_composite32(PIXMAN_OP_OVER, half, nullptr, theirs, 0, 0, 0, 0, 20, 10,
                                         600, 380);
            });
        pixman_image_unref(half);
    }

    void image(const char* title, const CPixels& pixels, bool isIndexed, double scale,
               double opacity) {
        const auto layer = isIndexed ? makeLayer(indexed(pixels), pixels.width, pixels.height, 2)
                                     : makeLayer(pixels.bytes, pixels.width, pixels.height, 4);
        const auto place = CImagePlacement::prepare(*layer, scale, {1.0, &table}, opacity);
        pixman_image_t* source = makePixman(pixels);
        pixman_image_t* mask = opacity < 1.0 ? makeSolid(static_cast<int>(opacity * 255)) : nullptr;
        if (scale != 2.0) {
            pixman_transform_t transform;
            const pixman_fixed_t ratio = pixman_double_to_fixed(2.0 / scale);
            pixman_transform_init_scale(&transform, ratio, ratio);
            pixman_image_set_transform(source, &transform);
            pixman_image_set_filter(source, PIXMAN_FILTER_BILINEAR, nullptr, 0);
        }
        report(
            title, [&] { ours.drawImage(place, 10, 10, ours.bounds()); },
            [&] {
                pixman_image_composite32(PIXMAN_OP_OVER, source, mask, theirs, 0, 0, 0, 0, 10, 10,
                                         place.width, place.height);
            });
        pixman_image_unref(source);
        if (mask) pixman_image_unref(mask);
    }

    void textLine() {
        pixman_glyph_cache_t* cache = pixman_glyph_cache_create();
        pixman_glyph_cache_freeze(cache);
        pixman_image_t* ink = makeSolid(255);
        std::vector<std::unique_ptr<CImageLayer>> layers;
        std::vector<CImagePlacement> places;
        std::vector<const void*> glyphs;
        unsigned state = 5;
        for (intptr_t i = 0; i < kLetters; i++) {
            const std::vector<uint8_t> alpha = makeLetter(state);
            layers.push_back(makeLayer(alpha, kLetterWidth, kLetterHeight, 1));
            places.push_back(CImagePlacement::prepare(*layers.back(), 2.0, {1.0, &table}, 1.0));
            pixman_image_t* image =
                pixman_image_create_bits(PIXMAN_a8, kLetterWidth, kLetterHeight, nullptr, 0);
            for (int y = 0; y < kLetterHeight; y++)
                std::memcpy(reinterpret_cast<uint8_t*>(pixman_image_get_data(image)) +
                                y * pixman_image_get_stride(image),
                            alpha.data() + y * kLetterWidth, kLetterWidth);
            glyphs.push_back(pixman_glyph_cache_insert(cache, this, reinterpret_cast<void*>(i + 1),
                                                       0, 0, image));
            pixman_image_unref(image);
        }
        std::vector<pixman_glyph_t> line;
        for (int i = 0; i < kLineLength; i++)
            line.push_back({10 + i * 10, 50, glyphs[static_cast<size_t>(i * 7 % kLetters)]});
        report(
            "text line of 60 letters",
            [&] {
                for (int i = 0; i < kLineLength; i++)
                    ours.drawImage(places[static_cast<size_t>(i * 7 % kLetters)], 10 + i * 10, 50,
                                   ours.bounds());
            },
            [&] {
                pixman_composite_glyphs_no_mask(PIXMAN_OP_OVER, ink, theirs, 0, 0, 0, 0, cache,
                                                kLineLength, line.data());
            });
        pixman_glyph_cache_thaw(cache);
        pixman_glyph_cache_destroy(cache);
        pixman_image_unref(ink);
    }

    /// What a change of the window's scale costs for one image, which no frame pays.
    void preparation(const CPixels& pixels) {
        const auto start = Clock::now();
        constexpr int kRounds = 50;
        for (int i = 0; i < kRounds; i++) {
            const auto layer = makeLayer(indexed(pixels), pixels.width, pixels.height, 2);
            keep(layer->getVariant(1.25));
        }
        const std::chrono::duration<double, std::micro> time = Clock::now() - start;
        std::printf("preparing %d x %d at 1.25: %.0f us\n", pixels.width, pixels.height,
                    time.count() / kRounds);
    }

private:
    CPaletteTable table;
    CLinearBitmap ours;
    pixman_image_t* theirs = nullptr;
};

} // namespace

int main() {
    pinToOneCore();
    CDrawingBench bench;
    if (!bench.start()) return 1;
    const CPixels button = makeButton(240, 80);
    const CPixels haze = makeHaze(240, 80);
    bench.fills();
    bench.image("button, indexed", button, true, 2.0, 1.0);
    bench.image("button, colours", button, false, 2.0, 1.0);
    bench.image("button, indexed, half", button, true, 2.0, 0.5);
    bench.image("haze, indexed", haze, true, 2.0, 1.0);
    bench.image("haze, colours", haze, false, 2.0, 1.0);
    bench.image("haze, indexed, half", haze, true, 2.0, 0.5);
    bench.image("scaled button, indexed", button, true, 1.25, 1.0);
    bench.image("scaled button, colours", button, false, 1.25, 1.0);
    bench.textLine();
    bench.preparation(button);
    return 0;
}
