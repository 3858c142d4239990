/// From text such as "-4.5dB", "50%", "on" or "0.25" to a parameter's normalised value.
#pragma once

#include "Host/PluginInstance.h"

#include <string>

namespace lum::host {

/// Who turned a text into a value.
enum class ConvertedBy {
    Number, // the text was a plain normalised number
    Percent,
    Plugin, // the plug-in's own text conversion
    Search, // a search over the texts that the plug-in shows
};

struct ParameterValue {
    float normalised = 0.0f; // 0..1
    ConvertedBy by = ConvertedBy::Number;
};

/// What was used, in words for the user.
std::string describe(ConvertedBy by);

/// What the parameter would show at `normalised`; leaves the parameter as it was.
std::string displayAt(PluginInstance& plugin, int index, float normalised);

/// Reads `text` as a value of parameter `index`. A number without unit is normalised, a number
/// with "%" is a share of the range, anything else is what the plug-in shows, with or without its
/// unit. Throws Failure when no position shows it.
ParameterValue parameterValue(PluginInstance& plugin, int index, const std::string& text);

} // namespace lum::host
