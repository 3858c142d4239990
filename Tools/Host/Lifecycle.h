/// What a plug-in costs beside its blocks: loading, making and starting an instance, its memory,
/// and its state out and in.
#pragma once

#include "Host/BenchRun.h"

#include <filesystem>
#include <string>
#include <vector>

namespace lum::host {

/// One thing measured.
struct LifecycleFigure {
    std::string key;  // for programs
    std::string name; // for people
    double value;
    const char* unit;
};

/// Loads the plug-in and goes through the life of many instances. Figures that repeat are medians.
/// Throws Failure.
std::vector<LifecycleFigure> measureLifecycle(const std::filesystem::path& plugin,
                                              const BenchRequest& request, const StateSetup& state,
                                              const std::vector<std::string>& settings);

} // namespace lum::host
