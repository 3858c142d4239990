#include "Host/BenchReport.h"
#include "Host/CommandLine.h"
#include "Host/Commands.h"
#include "Host/Failure.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>

namespace lum::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kWarmUpSeconds = 0.5; // of each plug-in; some load their files meanwhile
constexpr int kFewestPlayings = 5;

/// What one of the two plug-ins is asked to do; empty where the command line says nothing.
struct SideOptions {
    std::filesystem::path plugin;
    StateRequest state;
    std::vector<std::string> settings;
    std::optional<double> sampleRate;
    std::optional<int> blockSize;
    std::optional<int> channels;
    std::optional<int> automated;
    std::optional<int> bits;
    std::optional<std::string> input;
    bool isCold = false;
};

struct BenchOptions {
    SideOptions first;
    SideOptions second;
    std::vector<CLI::Option*> secondOptions;
    double seconds = 5.0; // of measuring, for each plug-in
    int core = -1;
    bool isLifecycle = false;
    bool isJson = false;
};

BenchRequest requestOf(const SideOptions& side) {
    BenchRequest request;
    request.sampleRate = side.sampleRate.value_or(request.sampleRate);
    request.blockSize = side.blockSize.value_or(request.blockSize);
    request.channels = side.channels.value_or(request.channels);
    request.automated = side.automated.value_or(request.automated);
    request.precision = side.bits.value_or(32) == 64 ? Precision::Double : Precision::Single;
    request.isCold = side.isCold;
    for (const BenchInput input : {BenchInput::Noise, BenchInput::Silence, BenchInput::Decay}) {
        if (side.input == inputName(input)) request.input = input;
    }
    return request;
}

/// What the second side leaves open is as for the first; state and settings only where both are the
/// same plug-in.
SideOptions completed(SideOptions second, const SideOptions& first) {
    const auto inherit = [](auto& value, const auto& from) {
        if (!value) value = from;
    };
    inherit(second.sampleRate, first.sampleRate);
    inherit(second.blockSize, first.blockSize);
    inherit(second.channels, first.channels);
    inherit(second.automated, first.automated);
    inherit(second.bits, first.bits);
    inherit(second.input, first.input);
    if (!second.plugin.empty()) return second;
    second.plugin = first.plugin;
    if (second.state == StateRequest()) second.state = first.state;
    if (second.settings.empty()) second.settings = first.settings;
    return second;
}

/// One side, loaded and started.
class Side {
public:
    explicit Side(const SideOptions& options)
        : path_(options.plugin),
          module_(options.plugin),
          run_(module_, requestOf(options), StateSetup(options.state), options.settings) {}

    void warmUp() {
        const auto end = Clock::now() + std::chrono::duration<double>(kWarmUpSeconds);
        while (Clock::now() < end) run_.play(false);
    }
    void play() { run_.play(true); }
    BenchResult result() const {
        return {path_,          run_.name(),     run_.request(),   run_.automatedNames(),
                run_.latency(), run_.deadline(), run_.statistics()};
    }

private:
    std::filesystem::path path_;
    PluginModule module_;
    BenchRun run_;
};

bool hasSecond(const BenchOptions& options) {
    return std::ranges::any_of(options.secondOptions,
                               [](const auto* option) { return option->count() > 0; });
}

/// The plug-ins play the passage in turn, so that both meet the same weather.
void measureBlocks(const BenchOptions& options) {
    std::vector<std::unique_ptr<Side>> sides;
    sides.push_back(std::make_unique<Side>(options.first));
    if (hasSecond(options)) {
        sides.push_back(std::make_unique<Side>(completed(options.second, options.first)));
    }
    for (auto& side : sides) side->warmUp();
    const double seconds = options.seconds * static_cast<double>(sides.size());
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    for (int playings = 0; playings < kFewestPlayings || Clock::now() < end; ++playings) {
        for (auto& side : sides) side->play();
    }
    std::vector<BenchResult> results;
    results.reserve(sides.size());
    for (const auto& side : sides) results.push_back(side->result());
    options.isJson ? printJson(std::cout, results) : printText(std::cout, results);
}

void run(const BenchOptions& options) {
    pinToCore(options.core);
    if (!options.isLifecycle) return measureBlocks(options);
    if (hasSecond(options)) {
        throw CLI::ValidationError("bench", "--lifecycle measures one plug-in, without --against");
    }
    const SideOptions& side = options.first;
    const auto figures =
        measureLifecycle(side.plugin, requestOf(side), StateSetup(side.state), side.settings);
    options.isJson ? printJson(std::cout, figures) : printText(std::cout, figures);
}

/// The options of a side; those of the second begin with "against-" and stand in no help text, as
/// they say nothing new.
std::vector<CLI::Option*> addSideOptions(CLI::App& command, SideOptions& side,
                                         const std::string& prefix) {
    std::vector<CLI::Option*> added;
    const auto add = [&](const char* name, auto& value, const char* help, const char* type,
                         const char* byDefault) {
        auto* option = command.add_option("--" + prefix + name, value, help);
        option->type_name(type);
        if (*byDefault != 0) option->default_str(byDefault);
        added.push_back(option);
        return option;
    };
    add("set", side.settings, "Set a parameter, as in render", "NAME=VALUE", "")
        ->allow_extra_args(false);
    add("program", side.state.program, "Choose a program", "N|NAME", "");
    add("preset", side.state.preset, "Load a preset file", "FILE.cpf", "");
    add("bank", side.state.bank, "Load a bank file", "FILE.cbf", "");
    add("chunk", side.state.chunk, "Load a state as a host keeps it", "FILE", "");
    add("rate", side.sampleRate, "Sample rate", "HZ", "48000")->check(CLI::Range(8000.0, 768000.0));
    add("block", side.blockSize, "Frames per process call", "N", "128")
        ->check(CLI::Range(1, 1 << 20));
    add("channels", side.channels, "Channels that carry sound", "N", "2")->check(CLI::Range(1, 8));
    add("bits", side.bits, "Sample type of the process calls, 32 or 64", "BITS", "32")
        ->check(CLI::IsMember({32, 64}));
    add("automate", side.automated,
        "Parameters that move before every block: the first N that are no switches", "N", "0")
        ->check(CLI::Range(0, 10000));
    add("input", side.input, "What sounds: noise, silence, or noise that decays to nothing", "KIND",
        "noise")
        ->check(CLI::IsMember({"noise", "silence", "decay"}));
    added.push_back(command.add_flag("--" + prefix + "cold", side.isCold,
                                     "Bring other data into the caches before every block"));
    return added;
}

} // namespace

void addBenchCommand(CLI::App& program) {
    auto options = std::make_shared<BenchOptions>();
    options->first.plugin = pluginBesideProgram();
    CLI::App* command = program.add_subcommand(
        "bench", "Time every process call, on one core; two plug-ins or two settings in turn");
    command->footer(
        "A passage of sound is played again and again. A block's time is the median of its\n"
        "playings that the system did not disturb, so that the figures are the plug-in's own.\n\n"
        "--against PATH runs a second plug-in in turn and prints the ratios. What it does "
        "differently\n"
        "is said by the options above with \"against-\" in front, as --against-set 3=0.34; what "
        "is\n"
        "left open is as for the first, but for --cold; another plug-in has a state of its own.\n"
        "Without --against the second is the same plug-in.\n\n"
        "Examples: sorrel-host bench --block 64 --rate 96000 --automate 1\n"
        "          sorrel-host bench --bits 64 --against-bits 32");
    addPluginOption(*command, options->first.plugin);
    addSideOptions(*command, options->first, "");
    auto* against = command->add_option("--against", options->second.plugin,
                                        "A second plug-in, run in turn with the first");
    against->type_name("PATH");
    options->secondOptions = addSideOptions(*command, options->second, "against-");
    for (auto* option : options->secondOptions) option->group("");
    options->secondOptions.push_back(against);
    command->add_option("--seconds", options->seconds, "Time to measure, for each plug-in")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.01, 3600.0))
        ->capture_default_str();
    command->add_option("--core", options->core, "Core to run on (default: the last allowed)")
        ->type_name("N")
        ->check(CLI::Range(0, 1023));
    command->add_flag("--lifecycle", options->isLifecycle,
                      "Measure creation, start, memory and state instead of blocks");
    command->add_flag("--json", options->isJson, "Print JSON");
    command->callback([options] { run(*options); });
}

} // namespace lum::host
