#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/ParameterSetting.h"
#include "Host/PluginInfo.h"

#include <iostream>
#include <memory>

namespace lum::host {

namespace {

struct InfoOptions {
    std::filesystem::path plugin = pluginBesideProgram();
    StateRequest state;
    SaveRequest save;
    std::vector<std::string> settings;
    bool isJson = false;
};

void run(const InfoOptions& options) {
    const PluginModule module(options.plugin);
    PluginInstance plugin(module);
    StateSetup(options.state).apply(plugin);
    applySettings(plugin, options.settings);
    saveState(plugin, options.save);
    const PluginInfo info = gatherInfo(plugin, options.plugin.string());
    options.isJson ? printJson(std::cout, info) : printText(std::cout, info);
}

} // namespace

void addInfoCommand(CLI::App& program) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand(
        "info", "Show name, ids, channels, latency, programs and parameters of a plug-in");
    command->footer("Example: sorrel-host info --program Presence --set 1EQ0=+3dB "
                    "--save-preset mine.cpf");
    addPluginOption(*command, options->plugin);
    addStateOptions(*command, options->state);
    addSetOption(*command, options->settings, false);
    addSaveOptions(*command, options->save);
    command->add_flag("--json", options->isJson, "Print JSON");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
