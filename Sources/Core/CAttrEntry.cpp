#include "Core/CAttrEntry.h"

#include <atomic>
#include <charconv>
#include <cmath>
#include <limits>

namespace lum {

namespace {

constexpr double kRealScale = 10000.0; // a printed real has 4 decimals

/// Fixed point with exactly 4 decimals, rounded half away from zero, independent of the locale.
CString printReal(double value) {
    const double scaled = std::round(value * kRealScale);
    if (!(std::fabs(scaled) < 9.0e18)) { // no room in 64 bits, or not a number
        char text[400];                  // the largest double has 309 digits before the point
        auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 4).ptr;
        return CString(text, static_cast<size_t>(end - text));
    }
    const auto units = static_cast<int64_t>(scaled);
    const auto magnitude = static_cast<uint64_t>(units < 0 ? -units : units);
    const CString digits = CString::fromInt(static_cast<int64_t>(magnitude % 10000 + 10000));
    CString result = units < 0 ? "-" : "";
    result.append(CString::fromInt(static_cast<int64_t>(magnitude / 10000)));
    return result.append(".").append(digits.substring(1));
}

int32_t roundToInt(double value) {
    using Limits = std::numeric_limits<int32_t>;
    const double rounded = std::round(value);
    if (std::isnan(rounded)) return 0;
    if (rounded <= Limits::min()) return Limits::min();
    if (rounded >= Limits::max()) return Limits::max();
    return static_cast<int32_t>(rounded);
}

template <class T>
void storeCached(T& place, T value) {
    std::atomic_ref<T>(place).store(value, std::memory_order_relaxed);
}

template <class T>
T loadCached(T& place) {
    return std::atomic_ref<T>(place).load(std::memory_order_relaxed);
}

} // namespace

CAttrEntry CAttrEntry::ofBool(bool value) {
    CAttrEntry entry;
    entry.become(AttrType::Boolean, kBoolValid);
    entry.boolValue = value;
    return entry;
}

CAttrEntry CAttrEntry::ofInt(int32_t value) {
    CAttrEntry entry;
    entry.become(AttrType::Integer, kIntValid);
    entry.intValue = value;
    return entry;
}

CAttrEntry CAttrEntry::ofReal(double value) {
    CAttrEntry entry;
    entry.become(AttrType::Real, kRealValid);
    entry.realValue = value;
    return entry;
}

CAttrEntry CAttrEntry::ofPointer(void* value) {
    CAttrEntry entry;
    entry.become(AttrType::Pointer, kPointerValid);
    entry.pointerValue = value;
    return entry;
}

CAttrEntry CAttrEntry::ofString(CString value) {
    CAttrEntry entry;
    entry.become(AttrType::String, kTextValid);
    entry.textValue = std::move(value);
    return entry;
}

CAttrEntry CAttrEntry::ofText(const CString& value) {
    int32_t number = 0;
    CAttrEntry entry;
    if (value.empty()) return entry;
    if (value.parseInt(number) && CString::fromInt(number) == value)
        entry = ofInt(number);
    else if (value == "true" || value == "false")
        entry = ofBool(value == "true");
    else
        return ofString(value);
    // The type prints back this very text, so it is the text's conversion already.
    entry.textValue = value;
    entry.flags |= kTextValid;
    return entry;
}

bool CAttrEntry::toBool(bool& out) const {
    if (isValid(kBoolValid)) {
        out = loadCached(boolValue);
        return true;
    }
    out = false;
    if (!convertToBool(out)) return false;
    storeCached(boolValue, out);
    markValid(kBoolValid);
    return true;
}

bool CAttrEntry::toInt(int32_t& out) const {
    if (isValid(kIntValid)) {
        out = loadCached(intValue);
        return true;
    }
    out = 0;
    if (!convertToInt(out)) return false;
    storeCached(intValue, out);
    markValid(kIntValid);
    return true;
}

bool CAttrEntry::toReal(double& out) const {
    if (isValid(kRealValid)) {
        out = loadCached(realValue);
        return true;
    }
    out = 0.0;
    if (!convertToReal(out)) return false;
    storeCached(realValue, out);
    markValid(kRealValid);
    return true;
}

// The text is not cached: a string cannot be stored in one step, another thread may be reading it,
// and printing a number costs no more than copying its text.
bool CAttrEntry::toString(CString& out) const {
    if (isValid(kTextValid)) {
        out = textValue;
        return true;
    }
    out.clear();
    switch (valueType) {
    case AttrType::Boolean:
        out = boolValue ? "true" : "false";
        return true;
    case AttrType::Real:
        out = printReal(realValue);
        return true;
    case AttrType::Integer:
        out = CString::fromInt(intValue);
        return true;
    case AttrType::Empty:
        return true;
    default:
        return false;
    }
}

bool CAttrEntry::toPointer(void*& out) const {
    out = valueType == AttrType::Pointer ? pointerValue : nullptr;
    return valueType == AttrType::Pointer;
}

bool CAttrEntry::boolOr(bool fallback) const {
    bool value;
    return toBool(value) ? value : fallback;
}

int32_t CAttrEntry::intOr(int32_t fallback) const {
    int32_t value;
    return toInt(value) ? value : fallback;
}

double CAttrEntry::realOr(double fallback) const {
    double value;
    return toReal(value) ? value : fallback;
}

CString CAttrEntry::stringOr(const CString& fallback) const {
    CString value;
    return toString(value) ? value : fallback;
}

void CAttrEntry::assign(const CAttrEntry& value) {
    if (this == &value) return;
    const uint8_t copied = std::atomic_ref<uint8_t>(value.flags).load(std::memory_order_acquire);
    flags = static_cast<uint8_t>((flags & ~kValueFlags) | (copied & kValueFlags));
    valueType = value.valueType;
    realValue = loadCached(value.realValue);
    intValue = loadCached(value.intValue);
    boolValue = loadCached(value.boolValue);
    pointerValue = value.pointerValue;
    textValue = value.textValue;
}

void CAttrEntry::become(AttrType type, uint8_t validFlag) {
    valueType = type;
    flags = static_cast<uint8_t>((flags & ~kValueFlags) | validFlag);
}

bool CAttrEntry::isValid(uint8_t flag) const noexcept {
    return (std::atomic_ref<uint8_t>(flags).load(std::memory_order_acquire) & flag) != 0;
}

void CAttrEntry::markValid(uint8_t flag) const noexcept {
    std::atomic_ref<uint8_t>(flags).fetch_or(flag, std::memory_order_release);
}

bool CAttrEntry::convertToBool(bool& out) const {
    switch (valueType) {
    case AttrType::Integer:
        out = intValue != 0;
        return true;
    case AttrType::String:
        out = textValue == "1" || textValue == "true";
        return out || textValue == "0" || textValue == "false";
    case AttrType::Empty:
        return true;
    default:
        return false;
    }
}

bool CAttrEntry::convertToInt(int32_t& out) const {
    switch (valueType) {
    case AttrType::Boolean:
        out = boolValue ? 1 : 0;
        return true;
    case AttrType::Real:
        out = roundToInt(realValue);
        return true;
    case AttrType::String:
        return textValue.parseInt(out);
    case AttrType::Empty:
        return true;
    default:
        return false;
    }
}

bool CAttrEntry::convertToReal(double& out) const {
    switch (valueType) {
    case AttrType::Integer:
        out = intValue;
        return true;
    case AttrType::String:
        return textValue.parseReal(out);
    case AttrType::Empty:
        return true;
    default:
        return false;
    }
}

} // namespace lum
