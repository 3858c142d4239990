/// Options that several commands share.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

namespace lum::host {

/// --plugin PATH, by default the plug-in beside the program.
void addPluginOption(CLI::App& command, std::filesystem::path& path);

/// --set NAME=VALUE, any number of times.
void addSetOption(CLI::App& command, std::vector<std::string>& settings, bool hasTime);

} // namespace lum::host
