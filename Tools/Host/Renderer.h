/// Sends one sound file through a plug-in.
#pragma once

#include "Host/AudioFile.h"
#include "Host/ParameterSetting.h"

#include <filesystem>
#include <string>
#include <vector>

namespace lum::host {

/// One file to render.
struct RenderJob {
    std::filesystem::path input;
    std::filesystem::path output;
    std::vector<ParameterSetting> settings; // by time
    std::vector<int> blockSizes = {512};    // frames, used in turn
    Precision precision = Precision::Single;
    std::string subtype; // empty: the input's own where possible
    double tailSeconds = 0.0;
    bool compensatesLatency = true;
};

/// What a rendering did.
struct RenderReport {
    double sampleRate = 0.0;
    int channels = 0;
    int format = 0;
    int latency = 0; // frames
    std::int64_t framesRead = 0;
    std::int64_t framesWritten = 0;
    std::int64_t clippedSamples = 0;
    std::int64_t invalidSamples = 0; // no finite numbers
    double inputPeak = 0.0;          // linear
    double outputPeak = 0.0;
    double processSeconds = 0.0; // inside the plug-in's process calls
};

/// Renders the job; the output appears under its name when it is complete. Throws Failure.
RenderReport render(PluginInstance& plugin, const RenderJob& job);

/// Asks a running rendering to stop; safe in a signal handler.
void requestStop();
bool isStopRequested();

} // namespace lum::host
