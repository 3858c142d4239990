#include "Host/Commands.h"
#include "Host/RegionLevels.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

namespace lum::host {

namespace {

struct LevelsOptions {
    std::filesystem::path first;
    std::filesystem::path second;
};

std::string rangeText(const RegionLevel& region) {
    if (region.lowHz == 0.0 && region.highHz == 0.0) return "";
    char text[48];
    if (region.lowHz == 0.0) {
        std::snprintf(text, sizeof text, "below %.0f Hz", region.highHz);
    } else if (region.highHz == 0.0) {
        std::snprintf(text, sizeof text, "above %.0f Hz", region.lowHz);
    } else {
        std::snprintf(text, sizeof text, "%.0f - %.0f Hz", region.lowHz, region.highHz);
    }
    return text;
}

void run(const LevelsOptions& options) {
    const auto first = regionLevels(options.first);
    const bool hasSecond = !options.second.empty();
    const auto second = hasSecond ? regionLevels(options.second) : first;
    const std::size_t rows = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < rows; ++i) {
        const auto& region = first[i];
        std::printf("%-9s %-15s %8.2f dB", region.name, rangeText(region).c_str(), region.levelDb);
        if (hasSecond) {
            std::printf("  -> %8.2f dB  (%+.2f)", second[i].levelDb,
                        second[i].levelDb - region.levelDb);
        }
        std::printf("\n");
    }
}

} // namespace

void addLevelsCommand(CLI::App& program) {
    auto options = std::make_shared<LevelsOptions>();
    CLI::App* command = program.add_subcommand(
        "levels", "Measure how loud a sound file is in regions of the spectrum, or compare two");
    command->add_option("FILE", options->first, "Sound file to read")
        ->type_name("PATH")
        ->required();
    command->add_option("SECOND", options->second, "Another one, shown beside it")
        ->type_name("PATH");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
