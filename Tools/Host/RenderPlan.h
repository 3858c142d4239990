/// Which files a render command reads, and where each goes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lum::host {

struct RenderFile {
    std::filesystem::path input;
    std::filesystem::path output;
    std::string refusal; // why this one is not rendered; empty: it is
};

/// One file in the folder for each input, of the input's name, with `extension` in place of its own
/// unless that is empty. Refused are outputs that would replace an input or the output of another.
/// Makes the folder. Throws Failure when that fails.
std::vector<RenderFile> planFolder(const std::vector<std::filesystem::path>& inputs,
                                   const std::filesystem::path& folder,
                                   const std::string& extension);

} // namespace lum::host
