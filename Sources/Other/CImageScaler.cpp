#include "Other/CImageScaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace lum {

namespace {

constexpr double kLobes = 3.0;
constexpr double kNearZero = 0x1p-42;      // distances within it take the limit of the weight
constexpr double kPhaseSteps = 1000.0;     // of a pixel
constexpr double kStripBudget = 5500000.0; // bytes; a strip's buffers stay in cache
constexpr int kLeastStripRows = 16;

/// Factor on the frequency: below 1 when the image gets smaller.
double bandOf(double ratio) {
    return ratio <= 1.0 ? 1.0 : 1.0 / ratio;
}

/// sin(start), sin(start + step), ... by the two-term recurrence.
class CSineSteps {
public:
    CSineSteps(double start, double step)
        : value(std::sin(start)), previous(std::sin(start - step)), factor(2.0 * std::cos(step)) {}
    double next() {
        const double current = value;
        value = factor * current - previous;
        previous = current;
        return current;
    }

private:
    double value;
    double previous;
    double factor;
};

uint8_t toByte(float value) {
    return value <= 0.0f     ? uint8_t{0}
           : value >= 255.0f ? uint8_t{255}
                             : static_cast<uint8_t>(value + 0.5f);
}

/// One pixel of `Channels` bytes. Four sums run side by side where the taps can be parted by four.
template <int Channels, int Lanes>
void filterPixel(const float* from, const float* weights, int tapCount, uint8_t* target) {
    float sums[Lanes][Channels] = {};
    for (int tap = 0; tap < tapCount; tap += Lanes)
        for (int lane = 0; lane < Lanes; lane++)
            for (int c = 0; c < Channels; c++)
                sums[lane][c] += weights[tap + lane] * from[(tap + lane) * Channels + c];
    for (int c = 0; c < Channels; c++) {
        float sum = sums[0][c];
        for (int lane = 1; lane < Lanes; lane++) sum += sums[lane][c];
        target[c] = toByte(sum);
    }
}

} // namespace

int CImageScaler::tapCountOf(double ratio) {
    return 2 * static_cast<int>(std::ceil(kLobes / bandOf(ratio)));
}

void CImageScaler::scale(const CScaleRequest& request) {
    if (request.targetWidth <= 0 || request.targetHeight <= 0) return;
    if (request.sourceWidth <= 0 || request.sourceHeight <= 0) {
        std::memset(request.target, 0,
                    static_cast<size_t>(request.targetWidth) *
                        static_cast<size_t>(request.targetHeight) *
                        static_cast<size_t>(request.bytesPerPixel));
        return;
    }
    prepareWeights(request.ratio, request.bytesPerPixel);
    findColumns(request);
    const int strip = rowsPerStrip(request);
    for (int row = 0; row < request.targetHeight; row += strip)
        scaleStrip(request, row, std::min(row + strip, request.targetHeight));
}

// ---- Weights

void CImageScaler::prepareWeights(double newRatio, int bytesPerPixel) {
    if (newRatio == ratio && bytesPerPixel == channels) return;
    ratio = newRatio;
    channels = bytesPerPixel;
    tapCount = tapCountOf(ratio);
    std::fill(sets, sets + kPhases, nullptr);
    blocks.clear();
    setsInUse = 0;
}

CImageScaler::CTap CImageScaler::tapAt(double position) {
    const double whole = std::floor(position);
    const int phase = static_cast<int>((position - whole) * kPhaseSteps + 0.5);
    return {static_cast<int>(whole) - tapCount / 2 + 1, weightsOf(phase)};
}

const float* CImageScaler::weightsOf(int phase) {
    if (sets[phase]) return sets[phase];
    const int place = setsInUse++ % kSetsPerBlock;
    if (place == 0)
        blocks.emplace_back().resize(static_cast<size_t>(kSetsPerBlock * tapCount) * sizeof(float));
    float* weights = reinterpret_cast<float*>(blocks.back().data()) + place * tapCount;
    computeWeights(phase, weights);
    return sets[phase] = weights;
}

void CImageScaler::computeWeights(int phase, float* weights) const {
    const double band = bandOf(ratio);
    const double reach = kLobes / band;
    const double wide = std::numbers::pi * band;
    const double first = 1.0 - tapCount / 2 - phase / kPhaseSteps; // distance of the first tap
    CSineSteps sinc(wide * first, wide);
    CSineSteps window(wide * first / kLobes, wide / kLobes);
    CVector<double, 64> exact;
    double sum = 0.0;
    for (int i = 0; i < tapCount; i++) {
        const double distance = first + i;
        const double sines = sinc.next() * window.next();
        double weight = 0.0;
        if (std::abs(distance) <= kNearZero)
            weight = wide * (wide / kLobes);
        else if (std::abs(distance) <= reach)
            weight = sines / (distance * distance);
        sum += exact.push_back(weight);
    }
    for (int i = 0; i < tapCount; i++) weights[i] = static_cast<float>(exact[i] / sum);
}

// ---- Passes

// Columns outside the image are copies of its edge in front of and behind the temporary row.
void CImageScaler::findColumns(const CScaleRequest& request) {
    columns.clear();
    columns.reserve(static_cast<size_t>(request.targetWidth));
    padLeft = padRight = 0;
    for (int x = 0; x < request.targetWidth; x++) {
        const CTap& tap = columns.push_back(tapAt(request.phaseX + x * ratio));
        padLeft = std::max(padLeft, -tap.first);
        padRight = std::max(padRight, tap.first + tapCount - request.sourceWidth);
    }
    for (CTap& tap : columns) tap.first = (tap.first + padLeft) * channels;
    rowFloats = request.sourceWidth * channels;
    temporary.resize(static_cast<size_t>(rowFloats + (padLeft + padRight) * channels));
}

int CImageScaler::rowsPerStrip(const CScaleRequest& request) const {
    const double sourceBytes = static_cast<double>(request.sourceHeight) * request.sourceStride;
    const double temporaryBytes =
        4.0 * request.targetHeight * static_cast<double>(temporary.size());
    const double rows = kStripBudget * request.targetHeight / (1.0 + sourceBytes + temporaryBytes);
    return static_cast<int>(std::clamp(rows, static_cast<double>(kLeastStripRows), 65536.0));
}

void CImageScaler::scaleStrip(const CScaleRequest& request, int firstRow, int endRow) {
    const int from = tapAt(request.phaseY + firstRow * ratio).first;
    const int to = tapAt(request.phaseY + (endRow - 1) * ratio).first + tapCount;
    const int last = request.sourceHeight - 1;
    widenRows(request, std::clamp(from, 0, last), std::clamp(to - 1, 0, last) + 1);
    const size_t targetStride = static_cast<size_t>(request.targetWidth * channels);
    for (int y = firstRow; y < endRow; y++) {
        filterColumn(tapAt(request.phaseY + y * ratio), request.sourceHeight);
        filterRow(request, request.target + static_cast<size_t>(y) * targetStride);
    }
}

void CImageScaler::widenRows(const CScaleRequest& request, int firstRow, int endRow) {
    stripFirst = firstRow;
    stripEnd = endRow;
    widened.resize(static_cast<size_t>(endRow - firstRow) * static_cast<size_t>(rowFloats));
    float* to = widened.data();
    for (int y = firstRow; y < endRow; y++) {
        const uint8_t* from = request.source + static_cast<ptrdiff_t>(y) * request.sourceStride;
        for (int i = 0; i < rowFloats; i++) *to++ = static_cast<float>(from[i]);
    }
}

// One row of the vertical pass, with its edges replicated on both sides.
void CImageScaler::filterColumn(const CTap& tap, int sourceHeight) {
    float* row = temporary.data() + padLeft * channels;
    std::fill(row, row + rowFloats, 0.0f);
    for (int i = 0; i < tapCount; i++) {
        const int y = std::clamp(tap.first + i, 0, sourceHeight - 1);
        const float* from = widened.data() + static_cast<ptrdiff_t>(y - stripFirst) * rowFloats;
        const float weight = tap.weights[i];
        for (int x = 0; x < rowFloats; x++) row[x] += weight * from[x];
    }
    const float* lastPixel = row + rowFloats - channels;
    for (int i = 0; i < padLeft; i++)
        std::copy(row, row + channels, temporary.data() + i * channels);
    for (int i = 0; i < padRight; i++)
        std::copy(lastPixel, lastPixel + channels, row + rowFloats + i * channels);
}

void CImageScaler::filterRow(const CScaleRequest& request, uint8_t* target) const {
    using CFilter = void (*)(const float*, const float*, int, uint8_t*);
    static constexpr CFilter kFilters[3][2] = {
        {&filterPixel<1, 2>, &filterPixel<1, 4>},
        {&filterPixel<2, 2>, &filterPixel<2, 4>},
        {&filterPixel<4, 2>, &filterPixel<4, 4>},
    };
    const CFilter filter = kFilters[channels == 4 ? 2 : channels - 1][tapCount % 4 == 0 ? 1 : 0];
    for (int x = 0; x < request.targetWidth; x++)
        filter(temporary.data() + columns[x].first, columns[x].weights, tapCount,
               target + x * channels);
}

} // namespace lum
