#include "Audio/Converters/ConverterMath.h"

#include <algorithm>
#include <cmath>

namespace lum {

namespace {

constexpr double kLargestUnits = 9e15; // below 2^53: every whole number of this size is exact
constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};

} // namespace

int64_t roundToLong(double value) noexcept {
    if (std::isnan(value)) return 0;
    return static_cast<int64_t>(std::clamp(std::round(value), -kLargestUnits, kLargestUnits));
}

CString fixedPointText(int64_t units, int decimals) {
    if (decimals <= 0) return CString::fromInt(units);
    CString digits = CString::fromInt(units < 0 ? -units : units);
    while (digits.length() <= static_cast<size_t>(decimals)) digits = "0" + digits;
    size_t point = digits.length() - static_cast<size_t>(decimals);
    CString text = units < 0 ? "-" : "";
    return text + digits.substring(0, static_cast<int>(point)) + "." + digits.substring(point);
}

CString decimalText(double value, int decimals) {
    return fixedPointText(roundToLong(value * kPowersOfTen[std::clamp(decimals, 0, 10)]), decimals);
}

} // namespace lum
