/// One block of samples, channel by channel, in the form that a plug-in's process call takes.
#pragma once

#include <cstddef>
#include <vector>

namespace lum::host {

template <typename Sample>
class PlanarBuffer {
public:
    PlanarBuffer(int channels, int frames)
        : frames_(static_cast<std::size_t>(frames)),
          samples_(static_cast<std::size_t>(channels) * frames_),
          pointers_(static_cast<std::size_t>(channels)) {
        for (std::size_t i = 0; i < pointers_.size(); ++i) {
            pointers_[i] = samples_.data() + i * frames_;
        }
    }

    Sample** channels() { return pointers_.data(); }
    Sample* channel(int index) { return pointers_[static_cast<std::size_t>(index)]; }

    /// interleaved: [frames * count]; channels from `count` on keep their content.
    void fillFrom(const double* interleaved, int count, int frames) {
        for (int c = 0; c < count; ++c) {
            Sample* target = channel(c);
            for (int i = 0; i < frames; ++i)
                target[i] = static_cast<Sample>(interleaved[i * count + c]);
        }
    }
    void copyTo(double* interleaved, int count, int frames) {
        for (int c = 0; c < count; ++c) {
            const Sample* source = channel(c);
            for (int i = 0; i < frames; ++i)
                interleaved[i * count + c] = static_cast<double>(source[i]);
        }
    }

private:
    std::size_t frames_;
    std::vector<Sample> samples_;
    std::vector<Sample*> pointers_;
};

} // namespace lum::host
