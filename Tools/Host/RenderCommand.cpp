#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/Failure.h"
#include "Host/OutputFormat.h"
#include "Host/Renderer.h"

#include <cmath>
#include <csignal>
#include <iostream>
#include <memory>

namespace lum::host {

namespace {

constexpr int kMaxBlock = 1 << 20; // frames

struct RenderOptions {
    RenderJob job;
    std::filesystem::path plugin = pluginBesideProgram();
    int bits = 32;
    bool isUncompensated = false;
    bool isQuiet = false;
};

std::string level(double peak) {
    if (peak <= 0.0) return "silence";
    char text[32];
    std::snprintf(text, sizeof text, "%+.2f dBFS", 20.0 * std::log10(peak));
    return text;
}

void printReport(const RenderOptions& options, const RenderReport& report) {
    const double seconds = static_cast<double>(report.framesWritten) / report.sampleRate;
    for (const auto& setting : report.settings) std::cout << "set      " << setting << '\n';
    std::cout << "input    " << options.job.input.string() << ": " << report.channels
              << (report.channels == 1 ? " channel, " : " channels, ") << report.sampleRate
              << " Hz, " << report.framesRead << " frames, peak " << level(report.inputPeak)
              << '\n';
    std::cout << "latency  " << report.latency << " frames"
              << (options.isUncompensated ? ", left in" : ", compensated") << '\n';
    std::cout << "output   " << options.job.output.string() << ": " << formatName(report.format)
              << ", " << report.framesWritten << " frames, peak " << level(report.outputPeak)
              << '\n';
    if (report.processSeconds > 0.0) {
        std::cout << "speed    " << seconds / report.processSeconds << " times real time\n";
    }
}

void run(RenderOptions& options) {
    std::signal(SIGINT, [](int) { requestStop(); });
    std::signal(SIGTERM, [](int) { requestStop(); });
    std::signal(SIGXFSZ, SIG_IGN); // a file-size limit then reads like a full disk
    options.job.precision = options.bits == 64 ? Precision::Double : Precision::Single;
    options.job.compensatesLatency = !options.isUncompensated;
    const PluginModule module(options.plugin);
    PluginInstance plugin(module);
    const RenderReport report = render(plugin, options.job);
    if (!options.isQuiet) printReport(options, report);
    if (report.clippedSamples > 0) {
        std::cerr << "warning: " << report.clippedSamples
                  << " samples went over full scale and were clipped (choose --subtype float)\n";
    }
}

} // namespace

void addRenderCommand(CLI::App& program) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = program.add_subcommand("render", "Send a sound file through the plug-in");
    command->footer("Example: sorrel-host render in.wav out.flac --set 1EQ3=-4.5dB "
                    "--set 1OGain@2.5s=+3dB --tail 0.1");
    command->add_option("IN", options->job.input, "Sound file to read, 1 to 8 channels")
        ->type_name("FILE")
        ->required();
    command
        ->add_option("OUT", options->job.output,
                     "Sound file to write; its extension tells the format")
        ->type_name("FILE")
        ->required();
    addSetOption(*command, options->job.settings, true);
    addPluginOption(*command, options->plugin);
    command
        ->add_option("--block", options->job.blockSizes,
                     "Frames per process call; a list (1,7,64) is used in turn")
        ->delimiter(',')
        ->type_name("N[,N...]")
        ->check(CLI::Range(1, kMaxBlock))
        ->capture_default_str()
        ->allow_extra_args(false);
    command->add_option("--bits", options->bits, "Sample type of the process calls, 32 or 64")
        ->check(CLI::IsMember({32, 64}))
        ->capture_default_str();
    command
        ->add_option("--tail", options->job.tailSeconds, "Seconds to render after the input's end")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    command
        ->add_option("--subtype", options->job.subtype,
                     "Sample form of OUT (default: that of IN where OUT can hold it):\n" +
                         subtypeNames())
        ->type_name("NAME");
    command->add_flag("--no-latency-compensation", options->isUncompensated,
                      "Leave the plug-in's delay in OUT instead of lining it up with IN");
    command->add_flag("-q,--quiet", options->isQuiet, "Print nothing but warnings and failures");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
