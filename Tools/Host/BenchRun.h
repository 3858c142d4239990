/// One plug-in under measurement: a passage of sound goes through it again and again, and every
/// process call is timed.
#pragma once

#include "Host/BlockTimes.h"
#include "Host/PlanarBuffer.h"
#include "Host/PluginInstance.h"
#include "Host/StateSetup.h"

#include <optional>
#include <string>
#include <vector>

namespace lum::host {

/// What sounds at the inputs.
enum class BenchInput {
    Noise,
    Silence,
    Decay, // noise that fades from its level to below the smallest number of the sample type
};

struct BenchRequest {
    double sampleRate = 48000.0; // Hz
    int blockSize = 128;         // frames
    int channels = 2;
    int automated = 0; // parameters that move before every block
    Precision precision = Precision::Single;
    BenchInput input = BenchInput::Noise;
    bool isCold = false; // other data fill the core's caches between the blocks
};

class BenchRun {
public:
    /// Makes and starts an instance in the state with the settings. Throws Failure.
    BenchRun(const PluginModule& module, const BenchRequest& request, const StateSetup& state,
             const std::vector<std::string>& settings);

    /// Plays the passage once from a fresh start. With `isRecorded` false the times are thrown
    /// away.
    void play(bool isRecorded);

    BlockStatistics statistics() const { return times_.statistics(); }
    const BenchRequest& request() const { return request_; }
    std::string name() const { return plugin_.text(vst::kEffectGetEffectName); }
    int latency() const { return plugin_.latency(); }
    const std::vector<std::string>& automatedNames() const { return automatedNames_; }
    double deadline() const { return 1e6 * request_.blockSize / request_.sampleRate; } // us

private:
    void chooseAutomated(int count);
    void moveParameters();
    void feed(int block);
    void chill();
    double timeBlock();
    template <typename Sample>
    double timeBlock(PlanarBuffer<Sample>& inputs, PlanarBuffer<Sample>& outputs);

    PluginInstance plugin_;
    BenchRequest request_;
    int settleBlocks_;  // of the passage, not timed: the fades of a start end in them
    int passageBlocks_; // timed
    PlanarBuffer<float> floatInputs_, floatOutputs_;
    PlanarBuffer<double> doubleInputs_, doubleOutputs_;
    std::vector<double> noise_; // [blockSize * channels of the request]
    std::vector<unsigned char> chill_;
    std::vector<int> automated_;
    std::vector<std::string> automatedNames_;
    double automationPhase_ = 0.0;
    BlockTimes times_;
};

/// Ties the calling thread to one core and returns its number; -1 lets the system choose the
/// last core that the process may use.
int pinToCore(int core);

} // namespace lum::host
