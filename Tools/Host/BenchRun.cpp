#include "Host/BenchRun.h"

#include "Host/Failure.h"
#include "Host/ParameterSetting.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <sched.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

namespace lum::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kNoiseLevel = 0.1;          // peak of the input noise, linear
constexpr double kAutomationStep = 0.618034; // of a sine's radians; never repeats a value
constexpr double kSettleSeconds = 0.25;      // of sound, at least
constexpr int kPeriodFrames = 32768; // a multiple of the blocks in which engines work inside
constexpr int kMostPeriods = 16;     // of a passage
constexpr int kFewestBlocks = 16;
constexpr int kContinuousTexts = 3;         // fewer shown texts make a switch, not a control
constexpr std::size_t kCacheLine = 64;      // bytes
constexpr long kUsualLevel2Cache = 1 << 20; // bytes, where the system does not tell

/// How often the system took the core from this thread, or a page had to be brought in.
long disturbances() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw + usage.ru_majflt;
}

/// Blocks that last whole periods, so that the same block of each playing meets the same work, also
/// in a plug-in that a restart does not bring back to its beginning. A block size that takes too
/// many for that gets what one period holds.
int passageFor(int blockSize) {
    const int common = std::gcd(kPeriodFrames, blockSize);
    const bool isWhole = blockSize / common <= kMostPeriods;
    const int one = (kPeriodFrames + blockSize - 1) / blockSize;
    return std::max(kFewestBlocks, isWhole ? kPeriodFrames / common : one);
}

/// Whole passages as well.
int settlingFor(double sampleRate, int blockSize) {
    const int passage = passageFor(blockSize);
    const double frames = kSettleSeconds * sampleRate;
    return passage *
           static_cast<int>(std::ceil(frames / (static_cast<double>(passage) * blockSize)));
}

/// Twice the core's own cache: as much as other plug-ins of a chain bring between two calls.
std::size_t chillBytes() {
    const long own = sysconf(_SC_LEVEL2_CACHE_SIZE);
    return static_cast<std::size_t>(2 * (own > 0 ? own : kUsualLevel2Cache));
}

std::vector<double> makeNoise(std::size_t count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> level(-kNoiseLevel, kNoiseLevel);
    std::vector<double> noise(count);
    for (double& sample : noise) sample = level(random);
    return noise;
}

/// The level of a decay that has passed the smallest number half-way through the passage.
double decayLevel(int block, int passageBlocks, Precision precision) {
    const double floor = precision == Precision::Double
                             ? std::numeric_limits<double>::denorm_min()
                             : static_cast<double>(std::numeric_limits<float>::denorm_min());
    const double decades = std::log10(floor / kNoiseLevel) * 2.0 * block / passageBlocks;
    return std::pow(10.0, decades);
}

} // namespace

BenchRun::BenchRun(const PluginModule& module, const BenchRequest& request, const StateSetup& state,
                   const std::vector<std::string>& settings)
    : plugin_(module),
      request_(request),
      settleBlocks_(settlingFor(request.sampleRate, request.blockSize)),
      passageBlocks_(passageFor(request.blockSize)),
      floatInputs_(plugin_.inputCount(), request.blockSize),
      floatOutputs_(plugin_.outputCount(), request.blockSize),
      doubleInputs_(plugin_.inputCount(), request.blockSize),
      doubleOutputs_(plugin_.outputCount(), request.blockSize),
      noise_(makeNoise(static_cast<std::size_t>(request.blockSize) *
                       static_cast<std::size_t>(request.channels))),
      chill_(request.isCold ? chillBytes() : 0),
      times_(static_cast<std::size_t>(passageBlocks_)) {
    state.apply(plugin_);
    plugin_.configure(request.sampleRate, request.blockSize, request.channels, request.precision,
                      vst::ProcessLevel::Realtime);
    applySettings(plugin_, settings);
    chooseAutomated(request.automated);
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

void BenchRun::play(bool isRecorded) {
    plugin_.suspend();
    automationPhase_ = 0.0;
    moveParameters();
    plugin_.resume();
    if (isRecorded) times_.beginPlaying();
    for (int block = -settleBlocks_; block < passageBlocks_; ++block) {
        moveParameters();
        feed(block);
        chill();
        const long before = disturbances();
        const double time = timeBlock();
        if (isRecorded && block >= 0) times_.add(time, disturbances() != before);
    }
}

void BenchRun::moveParameters() {
    automationPhase_ += kAutomationStep;
    const auto value = static_cast<float>(0.5 + 0.25 * std::sin(automationPhase_));
    for (const int index : automated_) plugin_.setParameter(index, value);
}

/// Fills the inputs for a block; below 0 the passage has not begun.
void BenchRun::feed(int block) {
    const bool isDecaying = request_.input == BenchInput::Decay && block >= 0;
    if (block != -settleBlocks_ && !isDecaying) return; // the same noise in each block
    double level = request_.input == BenchInput::Silence ? 0.0 : 1.0;
    if (isDecaying) level = decayLevel(block, passageBlocks_, request_.precision);
    std::vector<double> samples(noise_);
    for (double& sample : samples) sample *= level;
    floatInputs_.fillFrom(samples.data(), request_.channels, request_.blockSize);
    doubleInputs_.fillFrom(samples.data(), request_.channels, request_.blockSize);
}

void BenchRun::chill() {
    volatile unsigned char* line = chill_.data();
    for (std::size_t i = 0; i < chill_.size(); i += kCacheLine)
        line[i] = static_cast<unsigned char>(i);
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
