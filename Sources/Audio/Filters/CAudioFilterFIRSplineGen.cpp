#include "Audio/Filters/CAudioFilterFIRSplineGen.h"

#include "Audio/CAudioParamData.h"
#include "Audio/Filters/CDSPFIREQ.h"
#include "Audio/Filters/CSplineTable.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kDbPerNeper = 8.685889638065037;   // 20 / ln 10
constexpr double kNeperPerDb = 0.11512925464970228; // ln 10 / 20
constexpr double kCurveDensity = 0.5; // drawing steps per grid position of curve length
constexpr int kOversampling = 5;      // drawn grid positions per grid frequency
constexpr int kCurveCount = 3;

// What a design is held to, whatever clients write into the parameters; memory grows with it.
constexpr double kLongest = 0.5;    // seconds of kernel
constexpr int kFinest = 1024;       // grid frequencies
constexpr int kMostPoints = 9999;   // of a curve
constexpr double kLowest = 1e-3;    // Hz
constexpr double kHighest = 1000e3; // Hz

/// The settings of one generation, read and checked.
struct CCurveSettings {
    double length = 0.0; // seconds
    bool isMinPhase = false;
    double minFreq = 0.0; // Hz
    double maxFreq = 0.0; // Hz
    int precision = 0;
    int elementSize = 1;
    int pointCount = -1;                           // -1: as many as elements
    int elementCounts[kCurveCount] = {-1, -1, -1}; // -1: no such curve

    bool read(const CFilterGenSettings& settings);
};

int readInt(const CFilterGenSettings& settings, const char* name, int fallback) {
    const double* value = settings.find(name);
    return value ? std::min(roundToInt(*value), kMostPoints) : fallback;
}

bool CCurveSettings::read(const CFilterGenSettings& settings) {
    const double* lengthValue = settings.find("length");
    const double* minPhase = settings.find("min-phase");
    const double* low = settings.find("min-freq");
    const double* high = settings.find("max-freq");
    const double* precisionValue = settings.find("precision");
    if (!lengthValue || !minPhase || !low || !high || !precisionValue) return false;
    length = std::min(*lengthValue, kLongest);
    isMinPhase = *minPhase >= 0.5;
    minFreq = std::max(*low, kLowest);
    maxFreq = std::min(*high, kHighest);
    precision = std::min(roundToInt(*precisionValue), kFinest);
    elementSize = readInt(settings, "element-size", 0);
    pointCount = readInt(settings, "point-count", -1);
    elementCounts[0] = readInt(settings, "element-count", 0);
    elementCounts[1] = readInt(settings, "element-count2", -1);
    elementCounts[2] = readInt(settings, "element-count3", -1);
    const bool isSpan = length > 0.0 && minFreq < maxFreq; // false where one is no number
    return isSpan && precision >= 2 && (elementSize == 1 || elementSize == 2);
}

int pointsOfCurve(const CCurveSettings& s, int curve) {
    const bool isCountGiven = curve == 0 && s.elementSize == 1 && s.pointCount >= 2;
    return isCountGiven ? s.pointCount : s.elementCounts[curve];
}

/// Points of a curve with x in 0..1 over the span and y in dB. values: [elements * elementSize].
void readPoints(const CCurveSettings& s, const double* values, int elements, int n, double* x,
                double* y) {
    for (int i = 0; i < n; i++) {
        if (s.elementSize == 1) {
            x[i] = n > 1 ? static_cast<double>(i) / (n - 1) : 0.0;
            y[i] = i < elements ? std::log(values[i]) * kDbPerNeper : 0.0;
        } else {
            x[i] = std::log(values[2 * i] / s.minFreq) / std::log(s.maxFreq / s.minFreq);
            y[i] = std::log(values[2 * i + 1]) * kDbPerNeper;
        }
    }
}

/// All curves added up, in dB: the first P values of the block.
CSampleBlockRef drawAll(const CCurveSettings& s, const CFilterGenSettings& settings,
                        CSampleBlockPool& pool) {
    const int resolution = kOversampling * s.precision - (kOversampling - 1); // 1,276 for 256
    const CSplineTable table(pool, s.precision, kCurveDensity, CSplineTable::Shape::Cubic);
    CSampleBlockRef total, grid = pool.take(resolution);
    const double* values = settings.points;
    const double* const end = settings.points + settings.pointValueCount;
    for (int curve = 0; curve < kCurveCount; curve++) {
        if (s.elementCounts[curve] < 0) continue;
        const int room = static_cast<int>(end - values) / s.elementSize;
        const int elements = std::min(s.elementCounts[curve], room);
        int n = pointsOfCurve(s, curve);
        if (s.elementSize == 2) n = std::min(n, elements);
        CSampleBlockRef points = pool.take(2 * std::max(n, 1));
        readPoints(s, values, elements, n, points.samples(), points.samples() + n);
        table.draw(points.samples(), points.samples() + n, n, grid.samples(), resolution, 0.0,
                   kOversampling);
        values += elements * s.elementSize;
        if (!total) {
            total = std::exchange(grid, pool.take(resolution));
            continue;
        }
        for (int i = 0; i < s.precision; i++) total.samples()[i] += grid.samples()[i];
    }
    return total;
}

CSampleBlockRef drawGains(const CCurveSettings& s, const CFilterGenSettings& settings,
                          CSampleBlockPool& pool) {
    CSampleBlockRef gains = drawAll(s, settings, pool);
    for (int i = 0; i < s.precision; i++)
        gains.samples()[i] = std::exp(gains.samples()[i] * kNeperPerDb);
    return gains;
}

} // namespace

void CAudioFilterFIRSplineGen::fillClass(CClassInfo& info) {
    CAudioFilterGen::fillClass(info);
}

void CAudioFilterFIRSplineGen::generate(CFilterGenContext& context, double sampleRate,
                                        const CFilterGenSettings& settings,
                                        CSampleBlockPool& blockPool) const {
    CCurveSettings s;
    if (!s.read(settings)) return;
    CDSPFIREQ& design =
        CDSPFIREQ::get(sampleRate, s.length * sampleRate, s.precision, s.minFreq, s.maxFreq, true);
    const CSampleBlockRef gains = drawGains(s, settings, blockPool);
    CFilterKernelItem item{blockPool.take(design.getKernelLength()), design.getKernelLength()};
    design.makeKernel(gains.samples(), item.kernel.samples(), s.isMinPhase, 0);
    context.items.push_back(std::move(item));
    if (!s.isMinPhase) context.latency += design.getHalfLength() - 1;
}

CSampleBlockRef CAudioFilterFIRSplineGen::drawCurve(const CFilterGenSettings& settings,
                                                    CSampleBlockPool& blockPool) {
    CCurveSettings s;
    return s.read(settings) ? drawGains(s, settings, blockPool) : CSampleBlockRef();
}

} // namespace lum
