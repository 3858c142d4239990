#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/PluginInfo.h"

#include <iostream>
#include <memory>

namespace lum::host {

namespace {

struct InfoOptions {
    std::filesystem::path plugin = pluginBesideProgram();
    bool isJson = false;
};

void run(const InfoOptions& options) {
    const PluginModule module(options.plugin);
    PluginInstance plugin(module);
    const PluginInfo info = gatherInfo(plugin, options.plugin.string());
    options.isJson ? printJson(std::cout, info) : printText(std::cout, info);
}

} // namespace

void addInfoCommand(CLI::App& program) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand(
        "info", "Show name, ids, channels, latency, programs and parameters of a plug-in");
    addPluginOption(*command, options->plugin);
    command->add_flag("--json", options->isJson, "Print JSON");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
