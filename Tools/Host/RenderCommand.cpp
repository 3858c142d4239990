#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/Failure.h"
#include "Host/OutputFormat.h"
#include "Host/RenderPlan.h"
#include "Host/Renderer.h"

#include <cmath>
#include <csignal>
#include <iostream>
#include <memory>

namespace lum::host {

namespace {

constexpr int kMaxBlock = 1 << 20; // frames

struct RenderOptions {
    std::vector<std::filesystem::path> files; // IN and OUT, or the inputs for `folder`
    std::filesystem::path folder;
    std::string extension;
    std::filesystem::path plugin = pluginBesideProgram();
    StateRequest state;
    SaveRequest save;
    std::vector<std::string> settings;
    RenderJob job;
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

std::string shapeOf(const RenderReport& report) {
    char text[64];
    std::snprintf(text, sizeof text, "%d %s, %g Hz", report.channels,
                  report.channels == 1 ? "channel" : "channels", report.sampleRate);
    return text;
}

/// How many times faster than it plays; 0 when there was too little to tell.
double speedOf(const RenderReport& report) {
    const double seconds = static_cast<double>(report.framesWritten) / report.sampleRate;
    return report.processSeconds > 0.0 ? seconds / report.processSeconds : 0.0;
}

void printReport(const RenderJob& job, const RenderReport& report) {
    std::cout << "input    " << job.input.string() << ": " << shapeOf(report) << ", "
              << report.framesRead << " frames, peak " << level(report.inputPeak) << '\n'
              << "latency  " << report.latency << " frames"
              << (job.compensatesLatency ? ", compensated" : ", left in") << '\n'
              << "output   " << job.output.string() << ": " << formatName(report.format) << ", "
              << report.framesWritten << " frames, peak " << level(report.outputPeak) << '\n';
    if (speedOf(report) > 0.0) {
        std::cout << "speed    " << speedOf(report) << " times real time\n";
    }
}

/// The same in one line, for one of many.
void printLine(const RenderJob& job, const RenderReport& report) {
    std::cout << job.output.string() << ": " << shapeOf(report) << ", " << report.framesWritten
              << " frames, peak " << level(report.inputPeak) << " -> " << level(report.outputPeak)
              << std::endl; // seen at once, also in a file that is watched
}

void warn(const RenderJob& job, std::int64_t count, const char* what) {
    if (count == 0) return;
    std::cerr << "warning: " << job.output.string() << ": " << count << " samples " << what << '\n';
}

void warnOfDamage(const RenderJob& job, const RenderReport& report) {
    warn(job, report.clippedSamples,
         "went over full scale and were clipped (choose --subtype float)");
    warn(job, report.invalidSamples, "are infinite or no numbers: the plug-in is at fault");
}

/// Tries state and settings on an instance of its own before the first file is touched, resolves
/// the settings for all files, and saves what was asked for.
void prepare(RenderOptions& options, const PluginModule& module, const StateSetup& state) {
    PluginInstance plugin(module);
    std::vector<std::string> lines;
    for (const auto& words : state.apply(plugin)) lines.push_back("state    " + words);
    options.job.settings = resolveSettings(plugin, options.settings);
    for (const auto& setting : options.job.settings) {
        std::string words = setting.shown;
        if (setting.seconds > 0.0) words += " from " + std::to_string(setting.seconds) + " s on";
        lines.push_back("set      " + words);
    }
    applyStartSettings(plugin, options.job.settings);
    for (const auto& words : saveState(plugin, options.save)) lines.push_back("saved    " + words);
    if (options.isQuiet) return;
    for (const auto& line : lines) std::cout << line << '\n';
}

/// Each file has an instance of its own, so that no file hears what another left behind.
RenderReport renderOne(const RenderJob& job, const PluginModule& module, const StateSetup& state) {
    PluginInstance plugin(module);
    state.apply(plugin);
    RenderReport report = render(plugin, job);
    warnOfDamage(job, report);
    return report;
}

/// Renders what can be rendered. Throws Failure at the end when that was not all.
void renderFolder(RenderOptions& options, const PluginModule& module, const StateSetup& state) {
    const auto plan = planFolder(options.files, options.folder, options.extension);
    std::size_t rendered = 0;
    for (const RenderFile& file : plan) {
        options.job.input = file.input;
        options.job.output = file.output;
        try {
            if (!file.refusal.empty()) throw Failure(file.refusal);
            const RenderReport report = renderOne(options.job, module, state);
            if (!options.isQuiet) printLine(options.job, report);
            ++rendered;
        } catch (const Failure& failure) {
            if (isStopRequested()) break;
            std::cerr << "sorrel-host: " << file.input.string() << ": " << failure.what() << '\n';
        }
    }
    if (rendered == plan.size()) return;
    throw Failure((isStopRequested() ? "stopped; " : "") + std::to_string(rendered) + " of " +
                  std::to_string(plan.size()) + " files were rendered");
}

void run(RenderOptions& options) {
    const bool isPair = options.folder.empty();
    if (isPair && options.files.size() != 2) {
        throw CLI::ValidationError("render", "name IN and OUT, or any files with --out FOLDER");
    }
    std::signal(SIGINT, [](int) { requestStop(); });
    std::signal(SIGTERM, [](int) { requestStop(); });
    std::signal(SIGXFSZ, SIG_IGN); // a file-size limit then reads like a full disk
    RenderJob& job = options.job;
    job.precision = options.bits == 64 ? Precision::Double : Precision::Single;
    job.compensatesLatency = !options.isUncompensated;
    const PluginModule module(options.plugin);
    const StateSetup state(options.state);
    prepare(options, module, state);
    if (!isPair) return renderFolder(options, module, state);
    job.input = options.files[0];
    job.output = options.files[1];
    const RenderReport report = renderOne(job, module, state);
    if (!options.isQuiet) printReport(job, report);
}

void addFileOptions(CLI::App& command, RenderOptions& options) {
    command
        .add_option("FILES", options.files,
                    "IN and OUT: the sound file to read, of 1 to 8 channels, and the one to write, "
                    "whose extension tells the format.\nWith --out, any number of files to read")
        ->type_name("FILE...")
        ->required();
    auto* out =
        command.add_option("--out", options.folder,
                           "Write each file under its own name into this folder, which is made "
                           "if missing");
    out->type_name("FOLDER");
    command
        .add_option("--format", options.extension,
                    "With --out: the extension, and so the format, of the files written")
        ->type_name("EXT")
        ->needs(out);
    command
        .add_option(
            "--subtype", options.job.subtype,
            "Sample form of the output (default: that of the input where it can be had):\n" +
                subtypeNames())
        ->type_name("NAME");
}

} // namespace

void addRenderCommand(CLI::App& program) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = program.add_subcommand("render", "Send sound files through the plug-in");
    command->footer("Examples: sorrel-host render in.wav out.flac --set 1EQ3=-4.5dB "
                    "--set 1OGain@2.5s=+3dB --tail 0.1\n"
                    "          sorrel-host render takes/*.wav --out done --program Presence");
    addFileOptions(*command, *options);
    addStateOptions(*command, options->state);
    addSetOption(*command, options->settings, true);
    addSaveOptions(*command, options->save);
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
    command->add_flag("--no-latency-compensation", options->isUncompensated,
                      "Leave the plug-in's delay in OUT instead of lining it up with IN");
    command->add_flag("-q,--quiet", options->isQuiet, "Print nothing but warnings and failures");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
