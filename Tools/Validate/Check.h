/// What a check of the validator is: its name, what it needs to know, what it answers.
#pragma once

#include "Host/PluginModule.h"

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace lum::validate {

enum class Verdict { Pass, Fail, Skip };

/// One line of the table.
struct Outcome {
    Verdict verdict = Verdict::Pass;
    std::string figure; // what was measured, or what was wrong
};

/// What the person at the keyboard asked for; the same for all checks.
struct Task {
    std::filesystem::path plugin;
    std::filesystem::path goldenFolder; // chunks with their values; empty for none
    std::filesystem::path scratch;      // an empty folder, home and working folder of each check
    bool isLong = false;
    int threadSeconds = 0;      // of the check with several threads
    bool isLinearPhase = false; // the impulse response peaks at the latency in every state

    /// A count for the quick form, and the one of the long form.
    int count(int quick, int thorough) const { return isLong ? thorough : quick; }
};

/// Collects what is wrong; a check passes when that is nothing.
class Findings {
public:
    /// Keeps `what` if the promise is broken. Gives whether it holds.
    bool expect(bool holds, const std::string& what);
    bool isClean() const { return count_ == 0; }
    /// The first few findings, or the figure where there are none.
    Outcome outcome(const std::string& figure) const;

private:
    std::vector<std::string> shown_;
    int count_ = 0;
};

Outcome skip(const std::string& reason);

/// Runs in a process of its own, which the plug-in may bring down.
struct Check {
    const char* group;
    const char* name; // the property
    Outcome (*run)(const Task& task);
    int seconds; // after which it counts as hung, in the quick form
};

std::span<const Check> contractChecks();
std::span<const Check> blockChecks();
std::span<const Check> latencyChecks();
std::span<const Check> stateChecks();
std::span<const Check> goldenChecks();
std::span<const Check> numberChecks();
std::span<const Check> peakChecks();
std::span<const Check> politenessChecks();
std::span<const Check> crowdChecks();
std::span<const Check> realtimeChecks();
std::span<const Check> threadChecks();
std::span<const Check> clickChecks();

/// A line of text in the manner of printf.
[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...);

} // namespace lum::validate
