#include "Host/Lifecycle.h"

#include "Host/ParameterSetting.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace lum::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kInstances = 40;     // made one after the other
constexpr int kKeptInstances = 16; // alive at once, for the memory of one
constexpr int kChunkRounds = 300;

/// Milliseconds that a piece of work takes.
template <typename Work>
double timeOf(Work work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double medianOf(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

template <typename Work>
double medianTime(int rounds, Work work) {
    std::vector<double> times(static_cast<std::size_t>(rounds));
    for (double& time : times) time = timeOf(work);
    return medianOf(std::move(times));
}

/// Memory of this process that is in use, in KiB.
double residentKilobytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0.0;
    double resident = 0.0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024.0;
}

class LifecycleRun {
public:
    LifecycleRun(const std::filesystem::path& path, const BenchRequest& request,
                 const StateSetup& state, const std::vector<std::string>& settings)
        : path_(path), request_(request), state_(state), settings_(settings) {}

    std::vector<LifecycleFigure> measure() {
        add("load", "loading the file", timeOf([&] { module_.emplace(path_); }), "ms");
        std::unique_ptr<PluginInstance> first;
        add("firstCreate", "first instance made", timeOf([&] { first = make(); }), "ms");
        add("firstResume", "first instance started", timeOf([&] { first->resume(); }), "ms");
        measureInstances();
        measureMemory();
        if (first->has(vst::kFlagProgramChunks)) measureChunks(*first);
        return std::move(figures_);
    }

private:
    void add(const std::string& key, const std::string& name, double value, const char* unit) {
        figures_.push_back({key, name, value, unit});
    }

    /// An instance with its state and format, ready to be started.
    std::unique_ptr<PluginInstance> make() const {
        auto plugin = std::make_unique<PluginInstance>(*module_);
        state_.apply(*plugin);
        plugin->configure(request_.sampleRate, request_.blockSize, request_.channels,
                          request_.precision, vst::ProcessLevel::Realtime);
        applySettings(*plugin, settings_);
        return plugin;
    }

    void measureInstances() {
        std::vector<double> made;
        std::vector<double> started;
        std::vector<double> closed;
        for (int i = 0; i < kInstances; ++i) {
            std::unique_ptr<PluginInstance> plugin;
            made.push_back(timeOf([&] { plugin = make(); }));
            started.push_back(timeOf([&] { plugin->resume(); }));
            closed.push_back(timeOf([&] { plugin.reset(); }));
        }
        add("create", "instance made", medianOf(std::move(made)), "ms");
        add("resume", "instance started", medianOf(std::move(started)), "ms");
        add("close", "instance closed", medianOf(std::move(closed)), "ms");
    }

    void measureMemory() {
        std::vector<std::unique_ptr<PluginInstance>> kept;
        const double before = residentKilobytes();
        for (int i = 0; i < kKeptInstances; ++i) {
            kept.push_back(make());
            kept.back()->resume();
        }
        const double each = (residentKilobytes() - before) / kKeptInstances;
        add("memory", "memory of an instance", each / 1024.0, "MiB");
    }

    void measureChunks(PluginInstance& plugin) {
        measureChunk(plugin, StateKind::Program, "program");
        measureChunk(plugin, StateKind::Bank, "bank");
        const double program = editedChunkTime(plugin, StateKind::Program);
        const double bank = editedChunkTime(plugin, StateKind::Bank);
        add("programOutEdited", "after an edit, program", program, "us");
        add("bankOutEdited", "after an edit, bank", bank, "us");
    }

    void measureChunk(PluginInstance& plugin, StateKind kind, const std::string& what) {
        std::string chunk;
        const double out = medianTime(kChunkRounds, [&] { chunk = plugin.chunk(kind); });
        const double in = medianTime(kChunkRounds, [&] { plugin.setChunk(kind, chunk); });
        add(what + "Out", what + "'s state out", 1000.0 * out, "us");
        add(what + "In", what + "'s state in", 1000.0 * in, "us");
    }

    /// Microseconds that a state takes when a parameter has moved since the last one: what an
    /// instance remembers of that one is then of no use.
    double editedChunkTime(PluginInstance& plugin, StateKind kind) const {
        std::vector<double> times;
        for (int i = 0; i < kChunkRounds; ++i) {
            if (plugin.parameterCount() > 1)
                plugin.setParameter(1, static_cast<float>(i) / kChunkRounds);
            times.push_back(1000.0 * timeOf([&] { plugin.chunk(kind); }));
        }
        return medianOf(std::move(times));
    }

    const std::filesystem::path& path_;
    const BenchRequest& request_;
    const StateSetup& state_;
    const std::vector<std::string>& settings_;
    std::optional<PluginModule> module_;
    std::vector<LifecycleFigure> figures_;
};

} // namespace

std::vector<LifecycleFigure> measureLifecycle(const std::filesystem::path& plugin,
                                              const BenchRequest& request, const StateSetup& state,
                                              const std::vector<std::string>& settings) {
    return LifecycleRun(plugin, request, state, settings).measure();
}

} // namespace lum::host
