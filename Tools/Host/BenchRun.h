/// One plug-in under measurement: noise goes through it, and every process call is timed.
#pragma once

#include "Host/BlockTimes.h"
#include "Host/PlanarBuffer.h"
#include "Host/PluginInstance.h"

#include <string>
#include <vector>

namespace lum::host {

struct BenchRequest {
    double sampleRate = 48000.0; // Hz
    int blockSize = 128;         // frames
    int channels = 2;
    int automated = 0; // parameters that move before every block
    Precision precision = Precision::Single;
    double seconds = 5.0; // of measuring, per plug-in
};

class BenchRun {
public:
    BenchRun(const PluginModule& module, const BenchRequest& request,
             const std::vector<std::string>& settings);

    /// Runs blocks for that long. With `isRecorded` false the times are thrown away (warm-up).
    void runFor(double seconds, bool isRecorded);

    BlockStatistics statistics() const { return times_.statistics(); }
    std::string name() const { return plugin_.text(vst::kEffectGetEffectName); }
    const std::vector<std::string>& automatedNames() const { return automatedNames_; }

private:
    void chooseAutomated(int count);
    void moveParameters();
    double timeBlock();
    template <typename Sample>
    double timeBlock(PlanarBuffer<Sample>& inputs, PlanarBuffer<Sample>& outputs);

    PluginInstance plugin_;
    BenchRequest request_;
    PlanarBuffer<float> floatInputs_, floatOutputs_;
    PlanarBuffer<double> doubleInputs_, doubleOutputs_;
    std::vector<int> automated_;
    std::vector<std::string> automatedNames_;
    double automationPhase_ = 0.0;
    BlockTimes times_;
};

/// Ties the calling thread to one core and returns its number; -1 lets the system choose the
/// last core that the process may use.
int pinToCore(int core);

} // namespace lum::host
