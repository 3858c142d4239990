#include "Images/Drawing.h"

#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

namespace {

struct Release {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Release>;

constexpr int kGreyTolerance = 2; // steps of 255, left by the rasteriser's rounding

ImageError drawingError(const std::string& path, GError* error) {
    const Owned<GError> owned(error);
    return ImageError(path + ": " + (error ? error->message : "cannot be drawn"));
}

/// Straight colour of a premultiplied component.
uint8_t straight(uint8_t premultiplied, uint8_t alpha) {
    if (alpha == 0) return 0;
    return static_cast<uint8_t>(std::min(255, (premultiplied * 255 + alpha / 2) / alpha));
}

/// A position in data pixels; it must lie on a pixel's edge.
int toPixels(double units, double scale) {
    const double pixels = units * scale;
    if (std::abs(pixels - std::round(pixels)) > 1e-6)
        throw std::invalid_argument("the rectangle does not lie on whole pixels");
    return static_cast<int>(std::round(pixels));
}

} // namespace

Drawing::Drawing(const std::string& file, double dataScale) : path(file), scale(dataScale) {
    GError* error = nullptr;
    const Owned<RsvgHandle> handle(rsvg_handle_new_from_file(path.c_str(), &error));
    if (!handle) throw drawingError(path, error);
    double unitWidth = 0.0;
    double unitHeight = 0.0;
    if (!rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &unitWidth, &unitHeight))
        throw ImageError(path + ": width and height in pixels are missing");
    width = static_cast<int>(std::ceil(unitWidth * scale));
    height = static_cast<int>(std::ceil(unitHeight * scale));
    const Owned<cairo_surface_t> surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    const Owned<cairo_t> context(cairo_create(surface.get()));
    const RsvgRectangle viewport{0.0, 0.0, unitWidth * scale, unitHeight * scale};
    if (!rsvg_handle_render_document(handle.get(), context.get(), &viewport, &error))
        throw drawingError(path, error);
    cairo_surface_flush(surface.get());
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        throw ImageError(path + ": cannot be drawn");
    takePixels(cairo_image_surface_get_data(surface.get()),
               cairo_image_surface_get_stride(surface.get()));
}

void Drawing::takePixels(const uint8_t* data, int stride) {
    pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
    auto out = pixels.begin();
    for (int y = 0; y < height; y++) {
        const uint8_t* row = data + static_cast<ptrdiff_t>(y) * stride;
        for (int x = 0; x < width; x++, row += 4, ++out)
            *out = {straight(row[0], row[3]), straight(row[1], row[3]), straight(row[2], row[3]),
                    row[3]};
    }
}

std::vector<uint8_t> Drawing::cut(const DrawingRect& rect, PixelKind kind, int& cutWidth,
                                  int& cutHeight) const {
    const int left = toPixels(rect.x, scale);
    const int top = toPixels(rect.y, scale);
    cutWidth = toPixels(rect.width, scale);
    cutHeight = toPixels(rect.height, scale);
    if (left + cutWidth > width || top + cutHeight > height)
        throw std::invalid_argument("the rectangle leaves the drawing " + path);
    Pixels part;
    for (int y = top; y < top + cutHeight; y++)
        for (int x = left; x < left + cutWidth; x++) {
            part.push_back(pixels[static_cast<size_t>(y * width + x)]);
            if (kind != PixelKind::Color) checkGrey(part.back(), x, y);
        }
    bleed(part, cutWidth, cutHeight);
    std::vector<uint8_t> bytes;
    for (const Pixel& pixel : part) {
        if (kind == PixelKind::Color)
            bytes.insert(bytes.end(), {pixel.blue, pixel.green, pixel.red, pixel.alpha});
        if (kind == PixelKind::Index) bytes.insert(bytes.end(), {pixel.green, pixel.alpha});
        if (kind == PixelKind::Alpha) bytes.push_back(pixel.alpha);
    }
    return bytes;
}

// Faint pixels have lost their colour to the rounding of premultiplied bytes.
void Drawing::checkGrey(const Pixel& pixel, int x, int y) const {
    const auto [low, high] = std::minmax({pixel.red, pixel.green, pixel.blue});
    if ((high - low) * pixel.alpha <= kGreyTolerance * 255) return;
    char place[64];
    std::snprintf(place, sizeof place, " at %g, %g", x / scale, y / scale);
    throw std::invalid_argument("colour where grey is due in " + path + place);
}

// Each round fills the transparent pixels beside filled ones with the mean of those.
void Drawing::bleed(Pixels& part, int partWidth, int partHeight) {
    std::vector<char> filled(part.size());
    for (size_t i = 0; i < part.size(); i++) filled[i] = part[i].alpha > 0;
    for (bool isMore = true; isMore;) {
        isMore = false;
        const Pixels before = part;
        const std::vector<char> filledBefore = filled;
        for (int y = 0; y < partHeight; y++)
            for (int x = 0; x < partWidth; x++) {
                const auto at = static_cast<size_t>(y * partWidth + x);
                if (filledBefore[at]) continue;
                int count = 0;
                int sum[3] = {};
                for (int ny = std::max(y - 1, 0); ny <= std::min(y + 1, partHeight - 1); ny++)
                    for (int nx = std::max(x - 1, 0); nx <= std::min(x + 1, partWidth - 1); nx++) {
                        const auto from = static_cast<size_t>(ny * partWidth + nx);
                        if (!filledBefore[from]) continue;
                        count++;
                        sum[0] += before[from].blue;
                        sum[1] += before[from].green;
                        sum[2] += before[from].red;
                    }
                if (count == 0) continue;
                part[at] = {static_cast<uint8_t>(sum[0] / count),
                            static_cast<uint8_t>(sum[1] / count),
                            static_cast<uint8_t>(sum[2] / count), 0};
                filled[at] = 1;
                isMore = true;
            }
    }
}
