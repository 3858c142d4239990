/// Chunks kept for good, each with the values it must load to as text beside it.
#pragma once

#include <filesystem>

namespace lum::validate {

/// Writes a set made with the present version of the plug-in: every program, and states that the
/// host has made, as programs and banks. Throws host::Failure.
void writeGolden(const std::filesystem::path& plugin, const std::filesystem::path& folder);

} // namespace lum::validate
