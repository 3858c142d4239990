#include "Host/ParameterText.h"

#include "Host/Failure.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <strings.h>

namespace lum::host {

namespace {

// A plug-in that converts texts answers so to vendorSpecific; an extension known to many hosts.
constexpr std::int32_t kDisplayAtPosition = 7;
constexpr std::int32_t kTextToPosition = 27;
constexpr std::intptr_t kAnswered = 0xBEEF;
constexpr int kScanPositions = 1000; // per parameter, when a text is searched for
constexpr int kBisectionSteps = 40;  // far below the step of a float in 0..1

struct Number {
    double value = 0.0;
    std::string unit; // what follows the number, without blanks
    int decimals = 0;
};

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Reads a leading number with a point, whatever the locale; "inf" and a leading "+" included.
std::optional<Number> leadingNumber(const std::string& text) {
    const char* begin = text.c_str();
    const char* end = begin + text.size();
    if (begin != end && *begin == '+') ++begin;
    Number number;
    const auto [rest, error] = std::from_chars(begin, end, number.value);
    if (error != std::errc{}) return std::nullopt;
    const std::string digits(begin, rest);
    const auto point = digits.find('.');
    if (point != std::string::npos) number.decimals = static_cast<int>(digits.size() - point - 1);
    number.unit = trimmed(std::string(rest, end));
    return number;
}

bool sameText(const std::string& a, const std::string& b) {
    return strcasecmp(trimmed(a).c_str(), trimmed(b).c_str()) == 0;
}

/// Whether `shown` is how the plug-in writes what the user asked for.
bool shows(const std::string& shown, const Number& wanted) {
    const auto number = leadingNumber(trimmed(shown));
    if (!number) return false;
    if (std::isinf(wanted.value)) return number->value == wanted.value;
    const double halfStep = 0.5 * std::pow(10.0, -number->decimals);
    return std::abs(number->value - wanted.value) <= halfStep * 1.0001;
}

std::string valueName(PluginInstance& plugin, int index) {
    return plugin.parameterName(index);
}

[[noreturn]] void failRange(PluginInstance& plugin, int index, const std::string& text) {
    throw Failure(valueName(plugin, index) + " cannot be \"" + text + "\": it goes from \"" +
                  trimmed(displayAt(plugin, index, 0.0f)) + "\" to \"" +
                  trimmed(displayAt(plugin, index, 1.0f)) + "\" " + plugin.parameterUnit(index));
}

/// The plug-in's own conversion, or nothing when it has none.
std::optional<float> askPlugin(PluginInstance& plugin, int index, const std::string& text) {
    std::array<char, 256> buffer{};
    text.copy(buffer.data(), buffer.size() - 1);
    const auto answer =
        plugin.dispatch(vst::kEffectVendorSpecific, kTextToPosition, index, buffer.data());
    if (answer != kAnswered) return std::nullopt;
    const auto number = leadingNumber(buffer.data());
    if (!number || !(number->value >= 0.0 && number->value <= 1.0)) return std::nullopt;
    return static_cast<float>(number->value);
}

std::optional<double> numberAt(PluginInstance& plugin, int index, double position) {
    const auto shown = displayAt(plugin, index, static_cast<float>(position));
    const auto number = leadingNumber(trimmed(shown));
    return number ? std::optional(number->value) : std::nullopt;
}

/// The lowest position whose shown number is at least `target`, for a rising or falling display.
double edgeOf(PluginInstance& plugin, int index, double target, bool isRising, bool isStrict) {
    double low = 0.0;
    double high = 1.0;
    for (int step = 0; step < kBisectionSteps; ++step) {
        const double middle = 0.5 * (low + high);
        const double value = numberAt(plugin, index, middle).value_or(0.0);
        const bool isPast = isRising ? (isStrict ? value > target : value >= target)
                                     : (isStrict ? value < target : value <= target);
        (isPast ? high : low) = middle;
    }
    return high;
}

std::optional<float> searchNumber(PluginInstance& plugin, int index, const Number& wanted) {
    const auto bottom = numberAt(plugin, index, 0.0);
    const auto top = numberAt(plugin, index, 1.0);
    if (!bottom || !top || *bottom == *top) return std::nullopt;
    for (const double end : {0.0, 1.0}) {
        if (shows(displayAt(plugin, index, static_cast<float>(end)), wanted)) {
            return static_cast<float>(end);
        }
    }
    const bool isRising = *top > *bottom;
    const double first = edgeOf(plugin, index, wanted.value, isRising, false);
    const double nearest = numberAt(plugin, index, first).value_or(wanted.value);
    const double last = edgeOf(plugin, index, nearest, isRising, true);
    return static_cast<float>(0.5 * (first + last)); // the middle of all that show this number
}

std::optional<float> searchText(PluginInstance& plugin, int index, const std::string& text) {
    int first = -1;
    int last = -1;
    for (int i = 0; i <= kScanPositions; ++i) {
        const auto shown = displayAt(plugin, index, static_cast<float>(i) / kScanPositions);
        if (sameText(shown, text)) {
            if (first < 0) first = i;
            last = i;
        } else if (first >= 0) {
            break;
        }
    }
    if (first < 0) return std::nullopt;
    if (first == 0) return 0.0f;
    if (last == kScanPositions) return 1.0f;
    return 0.5f * static_cast<float>(first + last) / kScanPositions;
}

/// A text with a number in the parameter's unit.
ParameterValue numericValue(PluginInstance& plugin, int index, const std::string& text,
                            const Number& wanted) {
    const std::string unit = plugin.parameterUnit(index);
    if (!wanted.unit.empty() && !unit.empty() && !sameText(wanted.unit, unit)) {
        throw Failure(valueName(plugin, index) + " is in " + unit + ", not in " + wanted.unit);
    }
    const std::string bare = trimmed(text.substr(0, text.size() - wanted.unit.size()));
    const auto asked = askPlugin(plugin, index, bare);
    if (asked && shows(displayAt(plugin, index, *asked), wanted)) {
        return {*asked, ConvertedBy::Plugin};
    }
    const auto found = searchNumber(plugin, index, wanted);
    if (!found || !shows(displayAt(plugin, index, *found), wanted)) {
        failRange(plugin, index, text);
    }
    return {*found, ConvertedBy::Search};
}

ParameterValue shownValue(PluginInstance& plugin, int index, const std::string& text) {
    const auto asked = askPlugin(plugin, index, text);
    if (asked && sameText(displayAt(plugin, index, *asked), text)) {
        return {*asked, ConvertedBy::Plugin};
    }
    const auto found = searchText(plugin, index, text);
    if (!found) failRange(plugin, index, text);
    return {*found, ConvertedBy::Search};
}

} // namespace

std::string describe(ConvertedBy by) {
    switch (by) {
    case ConvertedBy::Number:
        return "normalised number";
    case ConvertedBy::Percent:
        return "share of the range";
    case ConvertedBy::Plugin:
        return "converted by the plug-in";
    case ConvertedBy::Search:
        return "found by a search over the shown texts";
    }
    return {};
}

std::string displayAt(PluginInstance& plugin, int index, float normalised) {
    std::array<char, 256> buffer{};
    if (plugin.dispatch(vst::kEffectVendorSpecific, kDisplayAtPosition, index, buffer.data(),
                        normalised) == kAnswered) {
        return buffer.data();
    }
    const float before = plugin.parameter(index);
    plugin.setParameter(index, normalised);
    std::string shown = plugin.parameterDisplay(index);
    plugin.setParameter(index, before);
    return shown;
}

ParameterValue parameterValue(PluginInstance& plugin, int index, const std::string& text) {
    const std::string bare = trimmed(text);
    const auto number = leadingNumber(bare);
    if (number && number->unit == "%" && !sameText(plugin.parameterUnit(index), "%")) {
        if (!(number->value >= 0.0 && number->value <= 100.0)) {
            throw Failure("\"" + text + "\" is outside 0% to 100% of " + valueName(plugin, index));
        }
        return {static_cast<float>(number->value / 100.0), ConvertedBy::Percent};
    }
    if (number && number->unit.empty()) {
        if (number->value >= 0.0 && number->value <= 1.0) {
            return {static_cast<float>(number->value), ConvertedBy::Number};
        }
        throw Failure("a number without a unit is normalised, from 0 to 1; write " + bare +
                      plugin.parameterUnit(index) + " if " + valueName(plugin, index) +
                      " shall show " + bare);
    }
    if (number) return numericValue(plugin, index, bare, *number);
    return shownValue(plugin, index, bare);
}

} // namespace lum::host
