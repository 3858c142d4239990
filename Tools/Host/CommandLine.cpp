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

void addStateOptions(CLI::App& command, StateRequest& request) {
    command
        .add_option("--program", request.program,
                    "Choose a program, by name or by number from 0\n"
                    "(\"sorrel-host info\" lists them)")
        ->type_name("N|NAME");
    command.add_option("--preset", request.preset, "Load a preset file into the chosen program")
        ->type_name("FILE.cpf");
    command.add_option("--bank", request.bank, "Load a bank file as the plug-in's programs")
        ->type_name("FILE.cbf");
    command
        .add_option("--chunk", request.chunk,
                    "Load a state as a host keeps it, of a bank or of one program")
        ->type_name("FILE");
}

void addSaveOptions(CLI::App& command, SaveRequest& request) {
    command
        .add_option("--save-preset", request.preset,
                    "Save the program as a preset file, with every --set")
        ->type_name("FILE.cpf");
    command.add_option("--save-bank", request.bank, "Save all programs as a bank file")
        ->type_name("FILE.cbf");
    command.add_option("--save-chunk", request.chunk, "Save all programs as a host keeps them")
        ->type_name("FILE");
}

} // namespace lum::host
