#include "Other/CColor.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// CIE XYZ and Lab under D65; sRGB transfer curve as in IEC 61966-2-1.

namespace lum {

namespace {

constexpr int kEntries = 256;
constexpr int kDarkestIndex = 8; // lower indices take its colour
constexpr double kWhiteX = 95.047;
constexpr double kWhiteY = 100.0;
constexpr double kWhiteZ = 108.883;
constexpr double kCubeLimit = 0.008856; // below it the cube root's place is taken by a line
constexpr double kLineSlope = 7.787;
constexpr double kLineOffset = 16.0 / 116.0;

double toLinear(uint32_t byte) {
    const double v = byte / 255.0;
    return v > 0.04045 ? std::pow((v + 0.055) / 1.055, 2.4) : v / 12.92;
}

double cubeRoot(double t) {
    return t > kCubeLimit ? std::pow(t, 1.0 / 3.0) : kLineSlope * t + kLineOffset;
}

double cube(double g) {
    const double t = g * g * g;
    return t > kCubeLimit ? t : (g - kLineOffset) / kLineSlope;
}

/// Companding and rounding; what is no number becomes 0.
uint8_t toByte(double v) {
    const double scaled =
        255.0 * (v > 0.0031308 ? 1.055 * std::pow(v, 1.0 / 2.4) - 0.055 : 12.92 * v);
    if (!(scaled > 0.0)) return 0;
    return scaled >= 255.0 ? uint8_t{255} : static_cast<uint8_t>(std::lround(scaled));
}

/// A tone taken apart: its lightness, and what stays fixed along the ramp.
struct CLabTone {
    double lightness;
    double a; // fx - fy
    double b; // fy - fz
};

CLabTone labOf(uint32_t tone) {
    const double red = toLinear(tone >> 16 & 255);
    const double green = toLinear(tone >> 8 & 255);
    const double blue = toLinear(tone & 255);
    const double fx = cubeRoot((41.24 * red + 35.76 * green + 18.05 * blue) / kWhiteX);
    const double fy = cubeRoot((21.26 * red + 71.52 * green + 7.22 * blue) / kWhiteY);
    const double fz = cubeRoot((1.93 * red + 11.92 * green + 95.05 * blue) / kWhiteZ);
    return {116.0 * fy - 16.0, fx - fy, fy - fz};
}

void storeEntry(uint8_t* entry, const CLabTone& tone, double lightness) {
    const double gy = (lightness + 16.0) / 116.0;
    const double x = kWhiteX * cube(gy + tone.a);
    const double y = kWhiteY * cube(gy);
    const double z = kWhiteZ * cube(gy - tone.b);
    entry[0] = toByte(0.000557 * x - 0.00204 * y + 0.01057 * z);
    entry[1] = toByte(-0.009689 * x + 0.018758 * y + 0.000415 * z);
    entry[2] = toByte(0.032406 * x - 0.015372 * y - 0.004986 * z);
    entry[3] = 255;
}

} // namespace

CColor::~CColor() {
    if (table) pool::free(table);
}

void CColor::makeTable() {
    generation++;
    if (!table) table = static_cast<CPaletteTable*>(pool::alloc(sizeof(CPaletteTable)));
}

void CColor::compute(uint32_t tone, double contrast, double newOpacity, double brightness) {
    makeTable();
    opacity = newOpacity;
    const double exponent = 2.0 - 2.0 * contrast;
    CLabTone lab = labOf(tone);
    lab.lightness += brightness;
    for (int i = kDarkestIndex; i < kEntries; i++)
        storeEntry(table->entries[i], lab, std::pow(i / 255.0, exponent) * lab.lightness);
    for (int i = 0; i < kDarkestIndex; i++)
        std::memcpy(table->entries[i], table->entries[kDarkestIndex], 4);
}

// The planes of a stored table are red, green, blue; an entry's order is the reverse.

CErrorResult CColor::save(COutputStream& stream) const {
    uint8_t planes[3][kEntries] = {};
    for (int i = 0; table && i < kEntries; i++)
        for (int c = 0; c < 3; c++) planes[c][i] = table->entries[i][2 - c];
    LUM_TRY(stream.writeValue(opacity));
    LUM_TRY(stream.write(planes, sizeof planes));
    return nullptr;
}

CErrorResult CColor::load(CInputStream& stream) {
    uint8_t planes[3][kEntries];
    double newOpacity = 0.0;
    LUM_TRY(stream.readValue(newOpacity));
    LUM_TRY(stream.read(planes, sizeof planes));
    makeTable();
    opacity = newOpacity >= 0.0 ? std::min(newOpacity, 1.0) : 0.0;
    for (int i = 0; i < kEntries; i++) {
        for (int c = 0; c < 3; c++) table->entries[i][2 - c] = planes[c][i];
        table->entries[i][3] = 255;
    }
    return nullptr;
}

} // namespace lum
