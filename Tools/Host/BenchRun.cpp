#include "Host/BenchRun.h"

#include "Host/Failure.h"
#include "Host/ParameterSetting.h"

#include <chrono>
#include <cmath>
#include <random>
#include <sched.h>
#include <set>
#include <sys/resource.h>

namespace lum::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kNoiseLevel = 0.1;          // peak of the input noise, linear
constexpr double kAutomationStep = 0.618034; // of a sine's radians; never repeats a value
constexpr std::size_t kMostBlocks = 1 << 22; // room for times; more grows the table
constexpr int kContinuousTexts = 3;          // fewer shown texts make a switch, not a control

template <typename Sample>
void fillWithNoise(PlanarBuffer<Sample>& buffer, int channels, int frames) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> level(-kNoiseLevel, kNoiseLevel);
    for (int c = 0; c < channels; ++c) {
        for (int i = 0; i < frames; ++i) buffer.channel(c)[i] = static_cast<Sample>(level(random));
    }
}

/// How often the system took the core from this thread, or a page had to be brought in.
long disturbances() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw + usage.ru_majflt;
}

std::size_t expectedBlocks(const BenchRequest& request) {
    const double shortest = 1e-6 * request.blockSize / 64.0; // seconds; no block is faster
    return std::min(kMostBlocks, static_cast<std::size_t>(request.seconds / shortest) + 1);
}

} // namespace

BenchRun::BenchRun(const PluginModule& module, const BenchRequest& request,
                   const std::vector<std::string>& settings)
    : plugin_(module),
      request_(request),
      floatInputs_(plugin_.inputCount(), request.blockSize),
      floatOutputs_(plugin_.outputCount(), request.blockSize),
      doubleInputs_(plugin_.inputCount(), request.blockSize),
      doubleOutputs_(plugin_.outputCount(), request.blockSize),
      times_(expectedBlocks(request)) {
    plugin_.configure(request.sampleRate, request.blockSize, request.channels, request.precision,
                      vst::ProcessLevel::Realtime);
    applySettings(plugin_, settings);
    chooseAutomated(request.automated);
    fillWithNoise(floatInputs_, request.channels, request.blockSize);
    fillWithNoise(doubleInputs_, request.channels, request.blockSize);
    plugin_.resume();
}

/// The first parameters that a host may automate and that are no switches.
void BenchRun::chooseAutomated(int count) {
    for (int i = 0; i < plugin_.parameterCount() && static_cast<int>(automated_.size()) < count;
         ++i) {
        if (plugin_.dispatch(vst::kEffectCanBeAutomated, i) != 1) continue;
        std::set<std::string> texts;
        for (const float position : {0.1f, 0.3f, 0.5f, 0.7f, 0.9f}) {
            texts.insert(displayAt(plugin_, i, position));
        }
        if (texts.size() < kContinuousTexts) continue;
        automated_.push_back(i);
        automatedNames_.push_back(plugin_.parameterName(i));
    }
    if (static_cast<int>(automated_.size()) < count) {
        throw Failure("the plug-in has only " + std::to_string(automated_.size()) +
                      " continuous parameters to automate");
    }
}

void BenchRun::moveParameters() {
    automationPhase_ += kAutomationStep;
    const auto value = static_cast<float>(0.5 + 0.25 * std::sin(automationPhase_));
    for (const int index : automated_) plugin_.setParameter(index, value);
}

template <typename Sample>
double BenchRun::timeBlock(PlanarBuffer<Sample>& inputs, PlanarBuffer<Sample>& outputs) {
    const auto start = Clock::now();
    plugin_.process(inputs.channels(), outputs.channels(), request_.blockSize);
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double BenchRun::timeBlock() {
    return request_.precision == Precision::Double ? timeBlock(doubleInputs_, doubleOutputs_)
                                                   : timeBlock(floatInputs_, floatOutputs_);
}

void BenchRun::runFor(double seconds, bool isRecorded) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        moveParameters();
        const long before = disturbances();
        const double time = timeBlock();
        if (isRecorded) times_.add(time, disturbances() != before);
    }
}

int pinToCore(int core) {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof allowed, &allowed);
    if (core < 0) {
        for (int i = 0; i < CPU_SETSIZE; ++i) {
            if (CPU_ISSET(i, &allowed)) core = i;
        }
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    if (sched_setaffinity(0, sizeof one, &one) != 0) {
        throw Failure("cannot run on core " + std::to_string(core));
    }
    return core;
}

} // namespace lum::host
