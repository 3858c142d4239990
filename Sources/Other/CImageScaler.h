#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CVector.h"

namespace lum {

/// How an image is resampled: target pixel i takes its value around source position
/// phase + i * ratio, counted from the middle of the first source pixel.
struct CScaleRequest {
    const uint8_t* source = nullptr;
    int sourceWidth = 0;
    int sourceHeight = 0;
    int sourceStride = 0;      // bytes
    uint8_t* target = nullptr; // rows without padding
    int targetWidth = 0;
    int targetHeight = 0;
    int bytesPerPixel = 1; // 1, 2 or 4; each byte is scaled independently
    double ratio = 1.0;    // source pixels per target pixel
    double phaseX = 0.0;
    double phaseY = 0.0;
};

/// Resamples pixels by a separable windowed sinc with three lobes. Positions outside the image take
/// the nearest edge pixel. Keeps its weights from image to image while ratio and pixel size stay
/// the same. One user at a time; the layers share some through a list.
class CImageScaler : public CLumMemAllocator {
public:
    /// Clears the target where a side is not positive.
    void scale(const CScaleRequest& request);

    /// Number of taps at a ratio.
    static int tapCountOf(double ratio);

private:
    struct CTap {
        int first; // source pixel of the first weight
        const float* weights;
    };
    void prepareWeights(double ratio, int bytesPerPixel);
    CTap tapAt(double position);
    const float* weightsOf(int phase);
    void computeWeights(int phase, float* weights) const;
    int rowsPerStrip(const CScaleRequest& request) const;
    void findColumns(const CScaleRequest& request);
    void scaleStrip(const CScaleRequest& request, int firstRow, int endRow);
    void widenRows(const CScaleRequest& request, int firstRow, int endRow);
    void filterColumn(const CTap& tap, int sourceHeight);
    void filterRow(const CScaleRequest& request, uint8_t* target) const;

    static constexpr int kPhases = 1001;      // a pixel's width in steps of 1/1000
    static constexpr int kSetsPerBlock = 256; // weight sets that are made room for at once

    double ratio = 0.0;
    int channels = 0;
    int tapCount = 0;
    const float* sets[kPhases] = {}; // [tapCount] weights; null until used
    CVector<CByteBuffer, 4> blocks;
    int setsInUse = 0;

    // Of the image at hand.
    CVector<CTap, 0> columns; // one per target column; `first` counts floats of the temporary row
    int padLeft = 0;          // edge pixels in front of the temporary row's image
    int padRight = 0;         // and behind it
    int rowFloats = 0;        // of a widened source row
    int stripFirst = 0;       // source row of the first widened one
    int stripEnd = 0;
    CVector<float, 0> widened;   // [rows][rowFloats]
    CVector<float, 0> temporary; // [padLeft + width + padRight][channels]
};

} // namespace lum
