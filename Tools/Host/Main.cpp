#include "Host/Commands.h"
#include "Host/Failure.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

/// What was printed may be the result, and the disk behind it full.
void checkPrinted() {
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw lum::host::Failure("cannot write the output");
    }
}

} // namespace

int main(int argc, char** argv) {
    CLI::App program("sorrel-host: runs a VST2 plug-in without a workstation", "sorrel-host");
    program.require_subcommand(1);
    program.get_formatter()->column_width(34);
    program.footer("\"sorrel-host COMMAND --help\" tells the options of a command.");
    lum::host::addRenderCommand(program);
    lum::host::addInfoCommand(program);
    lum::host::addResponseCommand(program);
    lum::host::addBenchCommand(program);
    lum::host::addLevelsCommand(program);
    try {
        program.parse(argc, argv);
        checkPrinted();
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : kExitUsage;
    } catch (const std::exception& failure) {
        std::cerr << "sorrel-host: " << failure.what() << '\n';
        return kExitFailure;
    }
    return 0;
}
