/// How loud a sound file is in a few regions of the spectrum.
#pragma once

#include <filesystem>
#include <vector>

namespace lum::host {

/// One region of the spectrum and what a file holds there.
struct RegionLevel {
    const char* name;
    double lowHz;   // 0: from the bottom
    double highHz;  // 0: to the top
    double levelDb; // RMS over all channels and the whole file, 0 dB a full-scale square wave
};

/// Reads the whole file. Throws Failure as AudioReader does.
std::vector<RegionLevel> regionLevels(const std::filesystem::path& path);

} // namespace lum::host
