/// Test signals that are the same on every machine.
#pragma once

#include "Validate/Subject.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace lum::validate {

/// A small generator (xorshift), seeded, with the same numbers everywhere.
class Random {
public:
    explicit Random(std::uint32_t seed) : state_(seed * 2654435761U + 1) {}
    std::uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<std::uint32_t>(state_ >> 16);
    }
    /// From 0 to below 1.
    double unit() { return next() / 4294967296.0; }
    /// From 0 to below the limit.
    int below(int limit) { return static_cast<int>(unit() * limit); }

private:
    std::uint64_t state_;
};

/// White noise, full scale, each channel its own.
template <class Sample>
Planar<Sample> noise(int channels, int frames, std::uint32_t seed = 1) {
    Random random(seed);
    Planar<Sample> signal(static_cast<std::size_t>(channels));
    for (auto& channel : signal) {
        channel.resize(static_cast<std::size_t>(frames));
        for (Sample& sample : channel) sample = static_cast<Sample>(2.0 * random.unit() - 1.0);
    }
    return signal;
}

/// Silence in all channels.
template <class Sample>
Planar<Sample> silence(int channels, int frames) {
    return Planar<Sample>(static_cast<std::size_t>(channels),
                          std::vector<Sample>(static_cast<std::size_t>(frames)));
}

/// The largest difference of two signals.
template <class Sample>
double difference(const Planar<Sample>& a, const Planar<Sample>& b) {
    double most = a.size() == b.size() ? 0.0 : 1e300;
    for (std::size_t c = 0; c < a.size() && c < b.size(); c++)
        for (std::size_t i = 0; i < a[c].size(); i++)
            most = std::max(most,
                            std::abs(static_cast<double>(a[c][i]) - static_cast<double>(b[c][i])));
    return most;
}

/// The response to an impulse in the first channel, in 64-bit samples where the plug-in takes
/// them. Settles first: `settle` frames of silence go ahead.
inline std::vector<double> impulseResponse(Subject& subject, int frames, int settle) {
    const auto measure = [&]<class Sample>(Sample one) {
        render(subject, silence<Sample>(subject.inputs(), settle));
        auto impulse = silence<Sample>(subject.inputs(), frames);
        impulse[0][0] = one;
        const auto response = render(subject, impulse)[0];
        return std::vector<double>(response.begin(), response.end());
    };
    return subject.hasDouble() ? measure(1.0) : measure(1.0F);
}

} // namespace lum::validate
