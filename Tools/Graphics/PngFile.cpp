#include "Graphics/PngFile.h"

#include <png.h>
#include <stdexcept>
#include <vector>

void writePng(const lum::CLinearBitmap& bitmap, const std::string& path) {
    const auto width = static_cast<size_t>(bitmap.getWidth());
    const auto height = static_cast<size_t>(bitmap.getHeight());
    std::vector<uint8_t> pixels(width * height * 3);
    for (size_t y = 0; y < height; y++) {
        const uint8_t* source = bitmap.row(static_cast<int>(y));
        uint8_t* target = pixels.data() + y * width * 3;
        for (size_t x = 0; x < width; x++)
            for (size_t channel = 0; channel < 3; channel++)
                target[x * 3 + channel] = source[x * 4 + channel];
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_BGR;
    if (!png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr))
        throw std::runtime_error(path + ": " + image.message);
}
