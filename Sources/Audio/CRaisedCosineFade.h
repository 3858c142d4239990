#pragma once

#include "Core/Realtime.h"

namespace lum {

/// The one law by which the engine crosses from an old signal to a new one: a raised cosine over a
/// number of samples, by a recurrence of one multiplication a sample. Its state advances sample by
/// sample, so it does not matter how a stream is cut into blocks.
struct CRaisedCosineFade {
    double value = 0.5; // 0.5 * cos(k * pi / n) at sample k
    double previous = 0.0;
    double factor = 0.0;

    /// Starts a fade of `length` samples, at least 1.
    void start(int length);
    /// Mixes `count` samples and advances. out may be one of the inputs.
    void mix(double* out, const double* oldSamples, const double* newSamples,
             int count) noexcept LUM_REALTIME;
    /// Advances by `count` samples.
    void skip(int count) noexcept LUM_REALTIME;
};

} // namespace lum
