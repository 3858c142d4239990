/// The results of a measurement, as text or as JSON.
#pragma once

#include "Host/BenchRun.h"
#include "Host/Lifecycle.h"

#include <filesystem>
#include <ostream>
#include <vector>

namespace lum::host {

/// One plug-in and what was found out about it.
struct BenchResult {
    std::filesystem::path path;
    std::string name;
    BenchRequest request;
    std::vector<std::string> automated;
    int latency = 0;       // frames
    double deadline = 0.0; // microseconds
    BlockStatistics times;

    double nanosecondsPerFrame() const { return 1000.0 * times.mean / request.blockSize; }
};

/// One result, or two that ran in turn; then with the ratios of the first to the second.
void printText(std::ostream& out, const std::vector<BenchResult>& results);
void printJson(std::ostream& out, const std::vector<BenchResult>& results);

void printText(std::ostream& out, const std::vector<LifecycleFigure>& figures);
void printJson(std::ostream& out, const std::vector<LifecycleFigure>& figures);

/// The names that a command line uses: "noise", "silence", "decay".
const char* inputName(BenchInput input);

} // namespace lum::host
