#include "Host/BenchReport.h"

#include "Host/Json.h"

#include <cstdarg>
#include <cstdio>

namespace lum::host {

namespace {

/// A line as printf makes it.
__attribute__((format(printf, 1, 2))) std::string line(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

int bitsOf(const BenchRequest& request) {
    return request.precision == Precision::Double ? 64 : 32;
}

void printHead(std::ostream& out, const BenchResult& result) {
    const BenchRequest& request = result.request;
    out << result.name << " (" << result.path.filename().string() << ")\n"
        << line("  %g Hz, blocks of %d frames, %d channels, %d bits, %s%s; deadline %.1f us\n",
                request.sampleRate, request.blockSize, request.channels, bitsOf(request),
                inputName(request.input), request.isCold ? ", cold caches" : "", result.deadline);
    if (result.automated.empty()) return;
    out << "  moving:";
    for (const auto& name : result.automated) out << ' ' << name;
    out << '\n';
}

void printRow(std::ostream& out, const char* what, double microseconds, double deadline) {
    out << line("  %-20s %10.2f us %9.3f %%\n", what, microseconds,
                100.0 * microseconds / deadline);
}

void printBody(std::ostream& out, const BenchResult& result) {
    const BlockStatistics& times = result.times;
    out << line("  %-20s %13s  %s\n", "", "time", "of deadline");
    printRow(out, "mean", times.mean, result.deadline);
    printRow(out, "median", times.median, result.deadline);
    printRow(out, "worst", times.worst, result.deadline);
    out << line("  with the machine's own doings:\n");
    printRow(out, "p99.9", times.p999, result.deadline);
    printRow(out, "worst undisturbed", times.worstUndisturbed, result.deadline);
    printRow(out, "worst of all", times.worstOfAll, result.deadline);
    out << line("  %.2f ns per frame; %zu blocks, played %zu times, %zu calls disturbed\n",
                result.nanosecondsPerFrame(), times.blocks, times.playings, times.disturbed);
}

struct Ratios {
    double nsPerFrame, median, worst;
};

Ratios ratiosOf(const std::vector<BenchResult>& results) {
    const BlockStatistics& a = results[0].times;
    const BlockStatistics& b = results[1].times;
    return {results[0].nanosecondsPerFrame() / results[1].nanosecondsPerFrame(),
            a.median / b.median, a.worst / b.worst};
}

std::string jsonOf(const BenchResult& result) {
    const BenchRequest& request = result.request;
    const BlockStatistics& times = result.times;
    std::string moved;
    for (const auto& name : result.automated) {
        moved += (moved.empty() ? "" : ", ") + jsonString(name);
    }
    return "{\"plugin\": " + jsonString(result.path.string()) +
           ", \"name\": " + jsonString(result.name) +
           line(", \"sampleRate\": %g, \"block\": %d, \"channels\": %d, \"bits\": %d",
                request.sampleRate, request.blockSize, request.channels, bitsOf(request)) +
           line(", \"input\": \"%s\", \"cold\": %s, \"latency\": %d", inputName(request.input),
                request.isCold ? "true" : "false", result.latency) +
           ", \"moving\": [" + moved + "]" +
           line(", \"deadlineUs\": %.6g, \"nsPerFrame\": %.6g", result.deadline,
                result.nanosecondsPerFrame()) +
           line(", \"meanUs\": %.6g, \"medianUs\": %.6g, \"worstUs\": %.6g", times.mean,
                times.median, times.worst) +
           line(", \"blocks\": %zu, \"playings\": %zu, \"disturbed\": %zu", times.blocks,
                times.playings, times.disturbed) +
           line(", \"p999Us\": %.6g, \"worstUndisturbedUs\": %.6g, \"worstOfAllUs\": %.6g}",
                times.p999, times.worstUndisturbed, times.worstOfAll);
}

} // namespace

void printText(std::ostream& out, const std::vector<BenchResult>& results) {
    for (const BenchResult& result : results) {
        printHead(out, result);
        printBody(out, result);
    }
    if (results.size() < 2) return;
    const Ratios ratios = ratiosOf(results);
    out << line("ratio of the first to the second: per frame %.3f, median %.3f, worst %.3f\n",
                ratios.nsPerFrame, ratios.median, ratios.worst);
}

void printJson(std::ostream& out, const std::vector<BenchResult>& results) {
    out << "{\"plugins\": [\n  ";
    for (std::size_t i = 0; i < results.size(); ++i) {
        out << (i == 0 ? "" : ",\n  ") << jsonOf(results[i]);
    }
    out << "\n]";
    if (results.size() == 2) {
        const Ratios ratios = ratiosOf(results);
        out << line(", \"ratio\": {\"nsPerFrame\": %.6g, \"median\": %.6g, \"worst\": %.6g}",
                    ratios.nsPerFrame, ratios.median, ratios.worst);
    }
    out << "}\n";
}

void printText(std::ostream& out, const std::vector<LifecycleFigure>& figures) {
    for (const auto& figure : figures) {
        out << line("  %-24s %10.3f %s\n", figure.name.c_str(), figure.value, figure.unit);
    }
}

void printJson(std::ostream& out, const std::vector<LifecycleFigure>& figures) {
    out << "{";
    for (std::size_t i = 0; i < figures.size(); ++i) {
        out << line("%s\"%s\": {\"value\": %.6g, \"unit\": \"%s\"}", i == 0 ? "" : ", ",
                    figures[i].key.c_str(), figures[i].value, figures[i].unit);
    }
    out << "}\n";
}

const char* inputName(BenchInput input) {
    switch (input) {
    case BenchInput::Noise:
        return "noise";
    case BenchInput::Silence:
        return "silence";
    case BenchInput::Decay:
        return "decay";
    }
    return "";
}

} // namespace lum::host
