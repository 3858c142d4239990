#include "Host/BenchRun.h"
#include "Host/CommandLine.h"
#include "Host/Commands.h"

#include <cstdio>
#include <memory>
#include <optional>

namespace lum::host {

namespace {

constexpr double kWarmUpSeconds = 0.5;
constexpr double kTurnSeconds = 0.2; // two plug-ins take turns, so that both meet the same weather

struct BenchOptions {
    std::filesystem::path plugin = pluginBesideProgram();
    std::filesystem::path against;
    std::vector<std::string> settings;
    std::vector<std::string> againstSettings;
    BenchRequest request;
    int bits = 32;
    int core = -1;
};

void printRow(const char* what, double microseconds, double deadline) {
    std::printf("  %-18s %10.2f us  %8.3f %%\n", what, microseconds,
                100.0 * microseconds / deadline);
}

void printStatistics(const BenchRun& run, const std::filesystem::path& path, double deadline) {
    const BlockStatistics statistics = run.statistics();
    std::printf("%s (%s)\n", run.name().c_str(), path.filename().c_str());
    if (!run.automatedNames().empty()) {
        std::printf("  moving:");
        for (const auto& name : run.automatedNames()) std::printf(" %s", name.c_str());
        std::printf("\n");
    }
    std::printf("  %-18s %13s  %s\n", "", "time", "of deadline");
    printRow("median", statistics.median, deadline);
    printRow("mean", statistics.mean, deadline);
    printRow("p99.9", statistics.p999, deadline);
    printRow("worst", statistics.worst, deadline);
    printRow("worst undisturbed", statistics.worstUndisturbed, deadline);
    std::printf("  %zu blocks, %zu disturbed by the system\n", statistics.blocks,
                statistics.disturbed);
}

void printRatio(const BlockStatistics& a, const BlockStatistics& b) {
    std::printf("ratio of the first to the second: median %.3f, mean %.3f, p99.9 %.3f, "
                "worst undisturbed %.3f\n",
                a.median / b.median, a.mean / b.mean, a.p999 / b.p999,
                a.worstUndisturbed / b.worstUndisturbed);
}

void measure(BenchRun& first, BenchRun* second, double seconds) {
    first.runFor(kWarmUpSeconds, false);
    if (second == nullptr) return first.runFor(seconds, true);
    second->runFor(kWarmUpSeconds, false);
    for (double done = 0.0; done < seconds; done += kTurnSeconds) {
        first.runFor(kTurnSeconds, true);
        second->runFor(kTurnSeconds, true);
    }
}

void run(BenchOptions& options) {
    auto& request = options.request;
    request.precision = options.bits == 64 ? Precision::Double : Precision::Single;
    const int core = pinToCore(options.core);
    const PluginModule module(options.plugin);
    std::optional<PluginModule> otherModule;
    if (!options.against.empty()) otherModule.emplace(options.against);
    BenchRun first(module, request, options.settings);
    std::optional<BenchRun> second;
    if (otherModule) second.emplace(*otherModule, request, options.againstSettings);

    const double deadline = 1e6 * request.blockSize / request.sampleRate;
    std::printf("%g Hz, blocks of %d frames, %d channels, %d bits, core %d; deadline %.1f us\n",
                request.sampleRate, request.blockSize, request.channels, options.bits, core,
                deadline);
    measure(first, second ? &*second : nullptr, request.seconds);
    printStatistics(first, options.plugin, deadline);
    if (!second) return;
    printStatistics(*second, options.against, deadline);
    printRatio(first.statistics(), second->statistics());
}

} // namespace

void addBenchCommand(CLI::App& program) {
    auto options = std::make_shared<BenchOptions>();
    auto& request = options->request;
    CLI::App* command = program.add_subcommand(
        "bench", "Time every process call, on one core, with noise as input");
    command->footer("Example: sorrel-host bench --block 64 --rate 96000 --automate 1");
    addPluginOption(*command, options->plugin);
    addSetOption(*command, options->settings, false);
    command->add_option("--block", request.blockSize, "Frames per process call")
        ->type_name("N")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    command->add_option("--rate", request.sampleRate, "Sample rate")
        ->type_name("HZ")
        ->check(CLI::Range(8000.0, 768000.0))
        ->capture_default_str();
    command->add_option("--channels", request.channels, "Channels that carry noise")
        ->type_name("N")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command->add_option("--seconds", request.seconds, "Time to measure, for each plug-in")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.01, 3600.0))
        ->capture_default_str();
    command
        ->add_option("--automate", request.automated,
                     "Parameters that move before every block: the first N that are no switches")
        ->type_name("N")
        ->check(CLI::Range(0, 10000))
        ->capture_default_str();
    command->add_option("--bits", options->bits, "Sample type of the process calls, 32 or 64")
        ->check(CLI::IsMember({32, 64}))
        ->capture_default_str();
    command->add_option("--core", options->core, "Core to run on (default: the last allowed)")
        ->type_name("N")
        ->check(CLI::Range(0, 1023));
    auto* against = command->add_option("--against", options->against,
                                        "A second plug-in, run in turn with the first; prints "
                                        "the ratio");
    against->type_name("PATH");
    command
        ->add_option("--against-set", options->againstSettings, "As --set, for the second plug-in")
        ->type_name("NAME=VALUE")
        ->needs(against)
        ->allow_extra_args(false);
    command->callback([options] { run(*options); });
}

} // namespace lum::host
