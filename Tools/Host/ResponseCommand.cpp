#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/Failure.h"
#include "Host/FrequencyResponse.h"
#include "Host/ParameterSetting.h"
#include "Host/ResponsePlot.h"
#include "Host/WholeFile.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace lum::host {

namespace {

constexpr int kTablePoints = 31; // thirds of an octave over ten octaves
constexpr int kPlotPoints = 600;
constexpr double kBelowNyquist = 0.999;

struct ResponseOptions {
    std::filesystem::path plugin = pluginBesideProgram();
    StateRequest state;
    SaveRequest save;
    std::vector<std::string> settings;
    ResponseRequest request;
    int points = 0; // 0: by the kind of output
    int channel = 1;
    bool isCsv = false;
    std::filesystem::path svg;
};

void printTable(const std::vector<ResponsePoint>& points) {
    std::printf("%12s  %10s  %10s\n", "frequency", "magnitude", "phase");
    for (const auto& point : points) {
        std::printf("%9.1f Hz  %+7.2f dB  %+8.2f°\n", point.frequencyHz, point.magnitudeDb,
                    point.phaseDegrees);
    }
}

void printCsv(const std::vector<ResponsePoint>& points) {
    std::puts("frequency_hz,magnitude_db,phase_degrees");
    for (const auto& point : points) {
        std::printf("%.6f,%.9f,%.9f\n", point.frequencyHz, point.magnitudeDb, point.phaseDegrees);
    }
}

std::string subtitleOf(const ResponseOptions& options, const std::vector<std::string>& state,
                       const PluginInstance& plugin) {
    std::string text = std::to_string(static_cast<int>(options.request.sampleRate)) +
                       " Hz, channel " + std::to_string(options.channel) + ", latency of " +
                       std::to_string(plugin.latency()) + " frames removed";
    for (const auto& words : state) text += "; " + words;
    const std::size_t shown = std::min<std::size_t>(options.settings.size(), 6);
    for (std::size_t i = 0; i < shown; ++i) text += (i == 0 ? "; " : ", ") + options.settings[i];
    return options.settings.size() > shown ? text + ", ..." : text;
}

void run(ResponseOptions& options) {
    const PluginModule module(options.plugin);
    PluginInstance plugin(module);
    auto& request = options.request;
    request.channel = options.channel - 1;
    if (options.channel > std::min(plugin.inputCount(), plugin.outputCount())) {
        throw Failure("the plug-in has no channel " + std::to_string(options.channel));
    }
    request.points =
        options.points > 0 ? options.points : (options.svg.empty() ? kTablePoints : kPlotPoints);
    request.highHz = std::min(request.highHz, kBelowNyquist * request.sampleRate / 2.0);
    const auto state = StateSetup(options.state).apply(plugin);
    const auto settings = applySettings(plugin, options.settings);
    saveState(plugin, options.save);
    const auto points = measureResponse(plugin, request);
    if (options.svg.empty()) {
        options.isCsv ? printCsv(points) : printTable(points);
        return;
    }
    for (const auto& words : state) std::cout << "state " << words << '\n';
    for (const auto& setting : settings) std::cout << "set   " << setting.shown << '\n';
    const std::string title = plugin.text(vst::kEffectGetEffectName) + ": frequency response";
    writeWholeFile(options.svg, responseSvg(points, title, subtitleOf(options, state, plugin)));
    std::cout << "plot  " << options.svg.string() << '\n';
}

} // namespace

void addResponseCommand(CLI::App& program) {
    auto options = std::make_shared<ResponseOptions>();
    CLI::App* command = program.add_subcommand(
        "response", "Measure magnitude and phase through the plug-in by an impulse");
    command->footer("Example: sorrel-host response --set 1EQ3=-4.5dB --svg curve.svg");
    addStateOptions(*command, options->state);
    addSetOption(*command, options->settings, false);
    addSaveOptions(*command, options->save);
    addPluginOption(*command, options->plugin);
    command->add_option("--rate", options->request.sampleRate, "Sample rate")
        ->type_name("HZ")
        ->check(CLI::Range(8000.0, 768000.0))
        ->capture_default_str();
    command
        ->add_option("--points", options->points,
                     "Number of frequencies from 20 Hz to 20 kHz, evenly spaced by ear "
                     "(default: 31, in a plot 600)")
        ->type_name("N")
        ->check(CLI::Range(2, 100000));
    command->add_option("--channel", options->channel, "Channel to measure, from 1")
        ->type_name("N")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    auto* csv = command->add_flag("--csv", options->isCsv, "Print comma-separated values");
    command->add_option("--svg", options->svg, "Write a plot instead of a table")
        ->type_name("FILE")
        ->excludes(csv);
    command->callback([options] { run(*options); });
}

} // namespace lum::host
