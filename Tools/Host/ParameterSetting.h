/// The `--set NAME[@TIME]=VALUE` settings of a command line.
#pragma once

#include "Host/ParameterText.h"

#include <string>
#include <vector>

namespace lum::host {

/// A setting as it was typed.
struct SettingText {
    std::string parameter; // name, or "#INDEX"
    std::string value;
    double seconds = 0.0; // 0: before the first frame
};

/// A setting as it will be carried out.
struct ParameterSetting {
    int index = 0;
    double seconds = 0.0;
    ParameterValue value;
    std::string shown; // "1EQ3 = -4.5 dB (...)" for the user
};

/// Splits "1EQ3@2.5s=-4.5dB". Throws Failure when it has no such form.
SettingText parseSetting(const std::string& argument);

/// Finds a parameter by its name, by its name in other case, or by "#INDEX" or "INDEX".
/// Throws Failure with near names.
int findParameter(const PluginInstance& plugin, const std::string& name);

/// Resolves all settings, sorted by time; those of equal time keep their order.
std::vector<ParameterSetting> resolveSettings(PluginInstance& plugin,
                                              const std::vector<std::string>& arguments);

/// How many settings, sorted by time, are of time 0: these are made before the plug-in starts, so
/// that no fade is heard.
std::size_t startSettingCount(const std::vector<ParameterSetting>& settings);
void applyStartSettings(PluginInstance& plugin, const std::vector<ParameterSetting>& settings);

/// Resolves settings and carries them out at once; for commands without a time line.
std::vector<ParameterSetting> applySettings(PluginInstance& plugin,
                                            const std::vector<std::string>& arguments);

} // namespace lum::host
