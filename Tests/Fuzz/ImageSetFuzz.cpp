#include "Core/CMemoryReader.h"
#include "Other/CImageSet.h"

using namespace lum;

namespace {

constexpr int kLargestSide = 300; // pixels; bigger images cost time and try nothing else

void drawImage(const CImage& image, double scale, CLinearBitmap& bitmap) {
    for (const auto& layer : image.layers) {
        if (layer->width > kLargestSide || layer->height > kLargestSide || layer->scale < 0.5)
            continue;
        for (const double opacity : {1.0, 0.5})
            bitmap.drawImage(CImagePlacement::prepare(*layer, scale, {}, opacity), 5, 5,
                             {3, 3, 60, 50});
    }
}

} // namespace

/// Loads the bytes as an image set, in place and through copies, and draws what came of it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CLinearBitmap bitmap;
    if (bitmap.setSize(64, 64, true)) return 0;
    CMemoryReaderStatic inPlace(data, static_cast<int32_t>(size));
    CMemoryReader copying(data, static_cast<int32_t>(size));
    for (CPosInputStream* stream :
         {static_cast<CPosInputStream*>(&inPlace), static_cast<CPosInputStream*>(&copying)}) {
        CImageSet set;
        if (set.load(*stream)) continue;
        for (int i = 0; i < set.getImageLimit() && i < 64; i++)
            if (const CImage* image = set.getImage(i))
                for (const double scale : {1.0, 2.0}) drawImage(*image, scale, bitmap);
    }
    return 0;
}
