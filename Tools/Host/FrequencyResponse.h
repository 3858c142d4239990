/// The frequency response of a plug-in, measured from outside by an impulse.
#pragma once

#include "Host/PluginInstance.h"

#include <vector>

namespace lum::host {

struct ResponsePoint {
    double frequencyHz = 0.0;
    double magnitudeDb = 0.0;
    double phaseDegrees = 0.0; // -180..180, the plug-in's latency removed
};

struct ResponseRequest {
    double sampleRate = 48000.0; // Hz
    int channel = 0;             // carries the impulse and is listened to
    int points = 31;
    double lowHz = 20.0;
    double highHz = 20000.0; // at most just below half the rate
};

/// Configures the plug-in, starts it, and measures. Parameters stay as they were set before.
/// Returns the points, evenly spaced on a logarithmic axis.
std::vector<ResponsePoint> measureResponse(PluginInstance& plugin, const ResponseRequest& request);

/// The spectrum of `impulse` at the request's points, `latency` frames taken as time zero.
std::vector<ResponsePoint> responseOf(const std::vector<double>& impulse, int latency,
                                      const ResponseRequest& request);

} // namespace lum::host
