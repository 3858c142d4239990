/// Options that several commands share.
#pragma once

#include "Host/StateSetup.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

namespace lum::host {

/// --plugin PATH, by default the plug-in beside the program.
void addPluginOption(CLI::App& command, std::filesystem::path& path);

/// --set NAME=VALUE, any number of times.
void addSetOption(CLI::App& command, std::vector<std::string>& settings, bool hasTime);

/// --program, --preset, --bank, --chunk.
void addStateOptions(CLI::App& command, StateRequest& request);

/// --save-preset, --save-bank, --save-chunk.
void addSaveOptions(CLI::App& command, SaveRequest& request);

} // namespace lum::host
