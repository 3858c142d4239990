/// Chunks kept for good, each with the values it must load to as text beside it.
#pragma once

#include "Validate/Subject.h"

#include <filesystem>

namespace lum::validate {

/// Writes a set made with the present version of the plug-in: every program, and states that the
/// host has made, as programs and banks. Throws host::Failure.
void writeGolden(const std::filesystem::path& plugin, const std::filesystem::path& folder);

struct GoldenChunk {
    std::string name;
    Bytes bytes;
};
/// The programs of such a set, by name: states that no parameter of the host reaches are among
/// them. None where the folder is empty text.
std::vector<GoldenChunk> goldenPrograms(const std::filesystem::path& folder);

} // namespace lum::validate
