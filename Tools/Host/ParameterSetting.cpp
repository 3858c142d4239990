#include "Host/ParameterSetting.h"

#include "Host/Failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>
#include <strings.h>

namespace lum::host {

namespace {

constexpr std::size_t kMaxSuggestions = 5;
constexpr std::size_t kNearDistance = 2; // edits between a typed name and a suggested one

std::string lower(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// Number of single-character edits from one text to the other.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::string suggestions(const PluginInstance& plugin, const std::string& name) {
    std::vector<std::pair<std::size_t, std::string>> near;
    for (int i = 0; i < plugin.parameterCount(); ++i) {
        const std::string candidate = plugin.parameterName(i);
        const std::size_t distance = editDistance(lower(name), lower(candidate));
        const bool isPart =
            !name.empty() && lower(candidate).find(lower(name)) != std::string::npos;
        if (distance <= kNearDistance || isPart) near.emplace_back(distance, candidate);
    }
    std::ranges::stable_sort(near, {}, &std::pair<std::size_t, std::string>::first);
    if (near.empty()) return "; \"sorrel-host info\" lists all";
    std::string text = "; near it: ";
    for (std::size_t i = 0; i < std::min(near.size(), kMaxSuggestions); ++i) {
        text += (i == 0 ? "" : ", ") + near[i].second;
    }
    return text;
}

double parseSeconds(const std::string& argument, std::string text) {
    if (!text.empty() && text.back() == 's') text.pop_back();
    double seconds = 0.0;
    const char* end = text.c_str() + text.size();
    const auto [rest, error] = std::from_chars(text.c_str(), end, seconds);
    if (error != std::errc{} || rest != end || !std::isfinite(seconds) || seconds < 0.0) {
        throw Failure("\"" + argument + "\" has no readable time behind the \"@\" (like @2.5s)");
    }
    return seconds;
}

std::string shownSetting(PluginInstance& plugin, int index, const ParameterValue& value) {
    std::string text = plugin.parameterName(index) + " = ";
    text += displayAt(plugin, index, value.normalised);
    const std::string unit = plugin.parameterUnit(index);
    if (!unit.empty()) text += " " + unit;
    return text + " (" + std::to_string(value.normalised) + ", " + describe(value.by) + ")";
}

ParameterSetting resolve(PluginInstance& plugin, const std::string& argument) {
    const SettingText text = parseSetting(argument);
    ParameterSetting setting;
    setting.index = findParameter(plugin, text.parameter);
    setting.seconds = text.seconds;
    setting.value = parameterValue(plugin, setting.index, text.value);
    setting.shown = shownSetting(plugin, setting.index, setting.value);
    return setting;
}

} // namespace

SettingText parseSetting(const std::string& argument) {
    const auto equals = argument.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == argument.size()) {
        throw Failure("\"" + argument + "\" is no setting: write NAME=VALUE or NAME@TIME=VALUE");
    }
    SettingText setting{argument.substr(0, equals), argument.substr(equals + 1)};
    const auto at = setting.parameter.rfind('@');
    if (at != std::string::npos) {
        setting.seconds = parseSeconds(argument, setting.parameter.substr(at + 1));
        setting.parameter.resize(at);
    }
    return setting;
}

int findParameter(const PluginInstance& plugin, const std::string& name) {
    int inOtherCase = -1;
    for (int i = 0; i < plugin.parameterCount(); ++i) {
        const std::string candidate = plugin.parameterName(i);
        if (candidate == name) return i;
        if (strcasecmp(candidate.c_str(), name.c_str()) == 0) inOtherCase = i;
    }
    if (inOtherCase >= 0) return inOtherCase;
    const std::string digits = name.substr(name.starts_with('#') ? 1 : 0);
    int index = -1;
    const char* end = digits.c_str() + digits.size();
    const auto [rest, error] = std::from_chars(digits.c_str(), end, index);
    const bool isNumber = error == std::errc{} && rest == end;
    if (isNumber && index >= 0 && index < plugin.parameterCount()) return index;
    if (isNumber || name.starts_with('#')) {
        throw Failure("there is no parameter " + name + ": the plug-in has " +
                      std::to_string(plugin.parameterCount()) + ", from #0 on");
    }
    throw Failure("the plug-in has no parameter \"" + name + "\"" + suggestions(plugin, name));
}

std::vector<ParameterSetting> resolveSettings(PluginInstance& plugin,
                                              const std::vector<std::string>& arguments) {
    std::vector<ParameterSetting> settings;
    settings.reserve(arguments.size());
    for (const auto& argument : arguments) settings.push_back(resolve(plugin, argument));
    std::ranges::stable_sort(settings, {}, &ParameterSetting::seconds);
    return settings;
}

std::size_t startSettingCount(const std::vector<ParameterSetting>& settings) {
    return static_cast<std::size_t>(std::ranges::count(settings, 0.0, &ParameterSetting::seconds));
}

void applyStartSettings(PluginInstance& plugin, const std::vector<ParameterSetting>& settings) {
    const std::size_t count = startSettingCount(settings);
    for (std::size_t i = 0; i < count; ++i) {
        plugin.setParameter(settings[i].index, settings[i].value.normalised);
    }
}

std::vector<ParameterSetting> applySettings(PluginInstance& plugin,
                                            const std::vector<std::string>& arguments) {
    auto settings = resolveSettings(plugin, arguments);
    for (const auto& setting : settings) {
        if (setting.seconds > 0.0) {
            throw Failure("a setting with a time (\"" + setting.shown +
                          "\") has a meaning in render only");
        }
    }
    applyStartSettings(plugin, settings);
    return settings;
}

} // namespace lum::host
