#include "Host/CommandLine.h"

namespace lum::host {

void addPluginOption(CLI::App& command, std::filesystem::path& path) {
    command
        .add_option("--plugin", path,
                    "The plug-in's .so file (default: SorrelGEQ.so beside "
                    "this program)")
        ->type_name("PATH")
        ->take_last();
}

void addSetOption(CLI::App& command, std::vector<std::string>& settings, bool hasTime) {
    const std::string time =
        hasTime ? "\nNAME@2.5s=VALUE changes it at that time of the input" : "";
    command
        .add_option("--set", settings,
                    "Set a parameter, by name or #INDEX, as often as needed:\n"
                    "1EQ3=-4.5dB, Bypass=On   what the plug-in shows\n"
                    "1EQ3=50%                 a share of its range\n"
                    "1EQ3=0.5                 without unit, a normalised number" +
                        time)
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
}

} // namespace lum::host
