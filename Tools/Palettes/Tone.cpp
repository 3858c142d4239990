#include "Palettes/Tone.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kWhite[3] = {0.95047, 1.0, 1.08883}; // D65
constexpr double kEpsilon = 216.0 / 24389.0;
constexpr double kKappa = 24389.0 / 27.0;

double toLinear(uint32_t byte) {
    const double v = byte / 255.0;
    return v > 0.04045 ? std::pow((v + 0.055) / 1.055, 2.4) : v / 12.92;
}

double toCompanded(double v) {
    return v > 0.0031308 ? 1.055 * std::pow(v, 1.0 / 2.4) - 0.055 : 12.92 * v;
}

double labCurve(double t) {
    return t > kEpsilon ? std::cbrt(t) : (kKappa * t + 16.0) / 116.0;
}

double labCurveInverse(double f) {
    return f * f * f > kEpsilon ? f * f * f : (116.0 * f - 16.0) / kKappa;
}

/// Linear components of a tone, which may lie outside 0 to 1.
void toLinearRgb(const Tone& tone, double (&rgb)[3]) {
    const double fy = (tone.lightness + 16.0) / 116.0;
    const double x = kWhite[0] * labCurveInverse(fy + tone.a / 500.0);
    const double y = kWhite[1] * labCurveInverse(fy);
    const double z = kWhite[2] * labCurveInverse(fy - tone.b / 200.0);
    rgb[0] = 3.2404542 * x - 1.5371385 * y - 0.4985314 * z;
    rgb[1] = -0.9692660 * x + 1.8760108 * y + 0.0415560 * z;
    rgb[2] = 0.0556434 * x - 0.2040259 * y + 1.0572252 * z;
}

bool isShown(const Tone& tone) {
    constexpr double kSlack = 0.0005; // of a component
    double rgb[3];
    toLinearRgb(tone, rgb);
    return std::all_of(rgb, rgb + 3, [](double v) { return v >= -kSlack && v <= 1.0 + kSlack; });
}

} // namespace

Tone Tone::fromRgb(uint32_t rgb) {
    const double red = toLinear(rgb >> 16 & 255);
    const double green = toLinear(rgb >> 8 & 255);
    const double blue = toLinear(rgb & 255);
    const double fx =
        labCurve((0.4124564 * red + 0.3575761 * green + 0.1804375 * blue) / kWhite[0]);
    const double fy =
        labCurve((0.2126729 * red + 0.7151522 * green + 0.0721750 * blue) / kWhite[1]);
    const double fz =
        labCurve((0.0193339 * red + 0.1191920 * green + 0.9503041 * blue) / kWhite[2]);
    return {116.0 * fy - 16.0, 500.0 * (fx - fy), 200.0 * (fy - fz)};
}

uint32_t Tone::toRgb() const {
    const Tone whole{std::clamp(lightness, 0.0, 100.0), a, b};
    const auto faded = [&whole](double part) {
        return Tone{whole.lightness, whole.a * part, whole.b * part};
    };
    double low = 0.0;
    double high = 1.0;
    if (isShown(whole)) low = 1.0;
    for (int step = 0; step < 20 && low < 1.0; step++) {
        const double middle = 0.5 * (low + high);
        (isShown(faded(middle)) ? low : high) = middle;
    }
    double rgb[3];
    toLinearRgb(faded(low), rgb);
    uint32_t packed = 0;
    for (const double v : rgb) {
        const long byte = std::lround(255.0 * toCompanded(std::clamp(v, 0.0, 1.0)));
        packed = packed << 8 | static_cast<uint32_t>(byte);
    }
    return packed;
}

double luminance(uint32_t rgb) {
    return 0.2126 * toLinear(rgb >> 16 & 255) + 0.7152 * toLinear(rgb >> 8 & 255) +
           0.0722 * toLinear(rgb & 255);
}

double contrastRatio(uint32_t first, uint32_t second) {
    const auto [low, high] = std::minmax({luminance(first), luminance(second)});
    return (high + 0.05) / (low + 0.05);
}
