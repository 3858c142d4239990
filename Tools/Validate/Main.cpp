// sorrel-validate: puts any VST2 binary through the checks of a validator, one line for each.

#include "Validate/Check.h"
#include "Validate/Golden.h"
#include "Validate/Isolation.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

namespace {

using namespace lum::validate;

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kLongFactor = 40; // of a check's time limit, in the long form
constexpr int kQuickThreadSeconds = 5;
constexpr int kLongThreadSeconds = 1800;

struct Options {
    Task task;
    std::string only;
    std::filesystem::path newGolden;
    bool isMarkdown = false;
    bool isQuick = false;
    bool isVerbose = false;
};

struct Totals {
    int counts[3] = {}; // by Verdict
    std::int64_t outputBytes = 0;
};

/// A folder of its own for each check, gone with it.
class Scratch {
public:
    Scratch() {
        std::string pattern = (std::filesystem::temp_directory_path() / "validate-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder can be made");
        path = pattern;
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::filesystem::path path;
};

std::vector<Check> allChecks() {
    std::vector<Check> checks;
    for (const auto& list : {contractChecks(), blockChecks(), latencyChecks(), stateChecks(),
                             goldenChecks(), numberChecks(), peakChecks(), politenessChecks(),
                             clickChecks(), crowdChecks(), realtimeChecks(), threadChecks()})
        checks.insert(checks.end(), list.begin(), list.end());
    return checks;
}

void printLine(const Options& options, const char* group, const char* name, const Outcome& outcome,
               double seconds, Totals& totals) {
    constexpr const char* kWords[] = {"ok", "FAIL", "skip"};
    const auto verdict = static_cast<std::size_t>(outcome.verdict);
    totals.counts[verdict]++;
    if (options.isMarkdown)
        std::printf("| %s | %s | %s | %s |\n", group, name, kWords[verdict],
                    outcome.figure.c_str());
    else
        std::printf("%-5s %-10s %-46s %s (%.1f s)\n", kWords[verdict], group, name,
                    outcome.figure.c_str(), seconds);
    std::fflush(stdout);
}

void runCheck(const Options& options, const Check& check, Totals& totals) {
    const Scratch scratch;
    Task task = options.task;
    task.scratch = scratch.path;
    const int limit = check.seconds * (task.isLong ? kLongFactor : 1) + task.threadSeconds;
    const IsolatedRun run = runIsolated(check, task, limit);
    printLine(options, check.group, check.name, run.outcome, run.seconds, totals);
    totals.outputBytes += run.outputBytes;
    const bool isBad = run.outcome.verdict == Verdict::Fail;
    if ((isBad || options.isVerbose) && !run.errorTail.empty())
        std::fprintf(stderr, "%s\n", run.errorTail.c_str());
}

/// A plug-in that is no plug-in is an error of the caller; tried in a process of its own.
Outcome loads(const Task& task) {
    const lum::host::PluginModule module(task.plugin);
    return {Verdict::Pass, "loads"};
}

int runAll(const Options& options) {
    constexpr Check kLoad = {"Load", "aBinaryOfAPlugin", &loads, 60};
    Totals totals;
    const Scratch scratch;
    Task task = options.task;
    task.scratch = scratch.path;
    const IsolatedRun first = runIsolated(kLoad, task, kLoad.seconds);
    if (first.outcome.verdict != Verdict::Pass) {
        std::fprintf(stderr, "sorrel-validate: %s\n", first.outcome.figure.c_str());
        return kExitUsage;
    }
    if (options.isMarkdown) std::printf("| group | promise | | figure |\n|---|---|---|---|\n");
    int ran = 0;
    for (const Check& check : allChecks()) {
        const std::string name = std::string(check.group) + "/" + check.name;
        if (name.find(options.only) == std::string::npos) continue;
        runCheck(options, check, totals);
        ran++;
    }
    if (ran == 0) {
        std::fprintf(stderr, "sorrel-validate: no check is named \"%s\"\n", options.only.c_str());
        return kExitUsage;
    }
    Findings silence;
    silence.expect(totals.outputBytes == 0,
                   text("%lld bytes", static_cast<long long>(totals.outputBytes)));
    printLine(options, "Politeness", "nothingIsWrittenToStandardOutput",
              silence.outcome(text("0 bytes in %d processes", ran)), 0.0, totals);
    std::printf("\n%d passed, %d failed, %d skipped\n", totals.counts[0], totals.counts[1],
                totals.counts[2]);
    return totals.counts[1] == 0 ? 0 : kExitFailed;
}

void addOptions(CLI::App& program, Options& options) {
    Task& task = options.task;
    program.add_option("PLUGIN", task.plugin, "The plug-in's .so file")->required();
    auto* quick =
        program.add_flag("--quick", options.isQuick, "Ten to thirty seconds (the default)");
    program.add_flag("--long", task.isLong, "More of the same; half an hour of it is threads")
        ->excludes(quick);
    program.add_option("--only", options.only, "Only checks whose GROUP/NAME contains this text");
    program.add_option("--golden", task.goldenFolder,
                       "Folder of chunks that must load to the values written beside them");
    program.add_option("--write-golden", options.newGolden,
                       "Write such a set with this version, and do nothing else");
    program.add_flag("--linear-phase", task.isLinearPhase,
                     "The response peaks at the latency in every state: measure it there as well");
    program.add_option("--thread-seconds", task.threadSeconds,
                       "Time of the check with several threads (5; long: 1800)");
    program.add_flag("--markdown", options.isMarkdown, "Print the table for a document");
    program.add_flag("--verbose", options.isVerbose, "Show what the plug-in wrote to its errors");
}

int run(Options& options) {
    Task& task = options.task;
    task.plugin = std::filesystem::absolute(task.plugin);
    if (!task.goldenFolder.empty())
        task.goldenFolder = std::filesystem::absolute(task.goldenFolder);
    if (task.threadSeconds == 0)
        task.threadSeconds = task.count(kQuickThreadSeconds, kLongThreadSeconds);
    if (options.newGolden.empty()) return runAll(options);
    writeGolden(task.plugin, options.newGolden);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App program("sorrel-validate: checks the manners of a VST2 plug-in", "sorrel-validate");
    program.get_formatter()->column_width(34);
    addOptions(program, options);
    try {
        program.parse(argc, argv);
        return run(options);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : kExitUsage;
    } catch (const std::exception& failure) {
        std::cerr << "sorrel-validate: " << failure.what() << '\n';
        return kExitFailed;
    }
}
