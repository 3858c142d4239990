#include "Host/FrequencyResponse.h"

#include "Host/PlanarBuffer.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace lum::host {

namespace {

constexpr int kBlockSize = 512;
constexpr double kSettleSeconds = 0.25; // silence before the impulse: fades of the start end in it
constexpr int kShortestCapture = 16384; // frames
constexpr double kFloor = 1e-20;        // -400 dB, for exact zeros

/// Silence, the impulse, and as much after it as the longest linear-phase kernel of this latency
/// lasts, with room for what rings on.
template <typename Sample>
std::vector<double> captureImpulse(PluginInstance& plugin, int channel, double sampleRate) {
    PlanarBuffer<Sample> inputs(plugin.inputCount(), kBlockSize);
    PlanarBuffer<Sample> outputs(plugin.outputCount(), kBlockSize);
    const int settleBlocks =
        static_cast<int>(kSettleSeconds * sampleRate + plugin.latency()) / kBlockSize + 1;
    for (int i = 0; i < settleBlocks; ++i) {
        plugin.process(inputs.channels(), outputs.channels(), kBlockSize);
    }
    const int length = std::max(kShortestCapture, 4 * plugin.latency());
    std::vector<double> impulse;
    for (int done = 0; done < length; done += kBlockSize) {
        inputs.channel(channel)[0] = done == 0 ? Sample(1) : Sample(0);
        plugin.process(inputs.channels(), outputs.channels(), kBlockSize);
        const Sample* heard = outputs.channel(channel);
        impulse.insert(impulse.end(), heard, heard + kBlockSize);
    }
    return impulse;
}

/// sum of impulse[n] * exp(-i * omega * (n - latency)), exact phases every 256 frames.
std::complex<double> spectrumAt(const std::vector<double>& impulse, double omega, int latency) {
    constexpr std::size_t kRun = 256;
    const std::complex<double> step = std::polar(1.0, -omega);
    std::complex<double> sum = 0.0;
    for (std::size_t start = 0; start < impulse.size(); start += kRun) {
        auto turn = std::polar(1.0, -omega * (static_cast<double>(start) - latency));
        const std::size_t end = std::min(impulse.size(), start + kRun);
        for (std::size_t n = start; n < end; ++n) {
            sum += impulse[n] * turn;
            turn *= step;
        }
    }
    return sum;
}

double frequencyOf(int point, const ResponseRequest& request) {
    if (request.points < 2) return request.lowHz;
    const double position = static_cast<double>(point) / (request.points - 1);
    return request.lowHz * std::pow(request.highHz / request.lowHz, position);
}

} // namespace

std::vector<ResponsePoint> measureResponse(PluginInstance& plugin, const ResponseRequest& request) {
    const bool isDouble = plugin.has(vst::kFlagCanDoubleReplacing);
    const int channels = std::min(plugin.inputCount(), std::max(2, request.channel + 1));
    plugin.suspend();
    plugin.configure(request.sampleRate, kBlockSize, std::min(channels, plugin.outputCount()),
                     isDouble ? Precision::Double : Precision::Single, vst::ProcessLevel::Offline);
    plugin.resume();
    const auto impulse = isDouble
                             ? captureImpulse<double>(plugin, request.channel, request.sampleRate)
                             : captureImpulse<float>(plugin, request.channel, request.sampleRate);
    const int latency = plugin.latency();
    plugin.suspend();
    return responseOf(impulse, latency, request);
}

std::vector<ResponsePoint> responseOf(const std::vector<double>& impulse, int latency,
                                      const ResponseRequest& request) {
    std::vector<ResponsePoint> points;
    for (int i = 0; i < request.points; ++i) {
        ResponsePoint point;
        point.frequencyHz = frequencyOf(i, request);
        const double omega = 2.0 * std::numbers::pi * point.frequencyHz / request.sampleRate;
        const auto value = spectrumAt(impulse, omega, latency);
        point.magnitudeDb = 20.0 * std::log10(std::max(std::abs(value), kFloor));
        point.phaseDegrees = std::arg(value) * 180.0 / std::numbers::pi;
        points.push_back(point);
    }
    return points;
}

} // namespace lum::host
