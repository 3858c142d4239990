/// The state from which a command's instances start: chunk, bank, program and preset, as the
/// command line names them.
#pragma once

#include "Host/PluginInstance.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace lum::host {

/// As typed; what is empty was not asked for.
struct StateRequest {
    std::string program; // number or name
    std::filesystem::path preset;
    std::filesystem::path bank;
    std::filesystem::path chunk;

    bool operator==(const StateRequest&) const = default;
};

/// Where the state is written to.
struct SaveRequest {
    std::filesystem::path preset;
    std::filesystem::path bank;
    std::filesystem::path chunk;
};

/// The files of a request, read and checked once, for any number of instances.
class StateSetup {
public:
    /// Throws Failure, as the readers of StateFile.h do.
    explicit StateSetup(const StateRequest& request);

    /// Puts an instance into the state: first what replaces all programs, then the program is
    /// chosen, then what replaces the present one. Returns what was done, in words for the user.
    /// Throws Failure when the plug-in refuses a state or has no such program.
    std::vector<std::string> apply(PluginInstance& plugin) const;

private:
    std::string program_;
    std::vector<PluginState> banks_;
    std::vector<PluginState> presets_;
};

/// Finds a program by its name, by its name in other case, or by its number from 0.
/// Throws Failure with the programs that there are.
int findProgram(const PluginInstance& plugin, const std::string& text);

/// Writes the files of a request. Returns what was done, in words. Throws Failure.
std::vector<std::string> saveState(const PluginInstance& plugin, const SaveRequest& request);

} // namespace lum::host
