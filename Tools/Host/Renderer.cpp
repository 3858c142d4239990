#include "Host/Renderer.h"

#include "Host/Failure.h"
#include "Host/OutputFormat.h"
#include "Host/PlanarBuffer.h"
#include "Host/Progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <limits>

namespace lum::host {

namespace {

volatile std::sig_atomic_t stopRequested = 0;

constexpr std::int64_t kUnknown = std::numeric_limits<std::int64_t>::max();

/// The loop over blocks of one rendering, in 32 or 64 bits.
template <typename Sample>
class BlockLoop {
public:
    BlockLoop(PluginInstance& plugin, const RenderJob& job, AudioReader& reader,
              AudioWriter& writer)
        : plugin_(plugin),
          job_(job),
          reader_(reader),
          writer_(writer),
          settings_(job.settings),
          maxBlock_(*std::ranges::max_element(job.blockSizes)),
          inputs_(plugin.inputCount(), maxBlock_),
          outputs_(plugin.outputCount(), maxBlock_),
          interleaved_(static_cast<std::size_t>(maxBlock_ * reader.channels())),
          toSkip_(job.compensatesLatency ? plugin.latency() : 0),
          nextSetting_(startSettingCount(job.settings)) {}

    void run(RenderReport& report) {
        const std::int64_t expected = reader_.frames();
        Progress progress(expected < 0 ? 0 : expected + framesAfterInput());
        while (position_ < end_) {
            if (stopRequested != 0) throw Failure("stopped");
            changeParameters();
            const int frames = readBlock(nextBlockSize(), report);
            if (frames == 0) break;
            processBlock(frames, report);
            writeBlock(frames, report);
            position_ += frames;
            progress.show(position_);
        }
    }

private:
    std::int64_t frameOf(double seconds) const {
        return static_cast<std::int64_t>(std::llround(seconds * reader_.sampleRate()));
    }
    std::int64_t framesAfterInput() const { return frameOf(job_.tailSeconds) + toSkip_; }

    void changeParameters() {
        while (nextSetting_ < settings_.size() &&
               frameOf(settings_[nextSetting_].seconds) <= position_) {
            const auto& setting = settings_[nextSetting_++];
            plugin_.setParameter(setting.index, setting.value.normalised);
        }
    }

    /// The next size of the list, cut where a parameter changes and where the output ends.
    int nextBlockSize() {
        std::int64_t frames = job_.blockSizes[blockIndex_++ % job_.blockSizes.size()];
        if (nextSetting_ < settings_.size()) {
            frames = std::min(frames, frameOf(settings_[nextSetting_].seconds) - position_);
        }
        return static_cast<int>(std::min(frames, end_ - position_));
    }

    /// Fills the inputs, with silence behind the file's end. Returns the frames to process.
    int readBlock(int frames, RenderReport& report) {
        const int channels = reader_.channels();
        std::int64_t got = 0;
        if (end_ == kUnknown) {
            got = reader_.read(interleaved_.data(), frames);
            report.framesRead += got;
            if (got < frames) end_ = report.framesRead + framesAfterInput();
        }
        const auto used = static_cast<std::size_t>(got * channels);
        for (std::size_t i = 0; i < used; ++i) {
            report.inputPeak = std::max(report.inputPeak, std::abs(interleaved_[i]));
        }
        std::fill(interleaved_.begin() + static_cast<std::ptrdiff_t>(used), interleaved_.end(),
                  0.0);
        inputs_.fillFrom(interleaved_.data(), channels, frames);
        return static_cast<int>(std::min<std::int64_t>(frames, end_ - position_));
    }

    void processBlock(int frames, RenderReport& report) {
        const auto start = std::chrono::steady_clock::now();
        plugin_.process(inputs_.channels(), outputs_.channels(), frames);
        const auto stop = std::chrono::steady_clock::now();
        report.processSeconds += std::chrono::duration<double>(stop - start).count();
    }

    void writeBlock(int frames, RenderReport& report) {
        const std::int64_t skipped = std::min<std::int64_t>(toSkip_ - skipped_, frames);
        skipped_ += skipped;
        if (skipped == frames) return;
        const int channels = reader_.channels();
        outputs_.copyTo(interleaved_.data(), channels, frames);
        writer_.write(interleaved_.data() + skipped * channels, frames - skipped);
        report.framesWritten += frames - skipped;
    }

    PluginInstance& plugin_;
    const RenderJob& job_;
    AudioReader& reader_;
    AudioWriter& writer_;
    const std::vector<ParameterSetting>& settings_;
    int maxBlock_;
    PlanarBuffer<Sample> inputs_;
    PlanarBuffer<Sample> outputs_;
    std::vector<double> interleaved_; // [maxBlock_ * channels of the file]
    std::int64_t toSkip_;             // frames of output that precede the input's first frame
    std::int64_t skipped_ = 0;
    std::int64_t position_ = 0;   // frames processed
    std::int64_t end_ = kUnknown; // frames to process, known once the input has ended
    std::size_t blockIndex_ = 0;
    std::size_t nextSetting_;
};

} // namespace

RenderReport render(PluginInstance& plugin, const RenderJob& job) {
    AudioReader reader(job.input);
    const int rate = static_cast<int>(reader.sampleRate());
    RenderReport report;
    report.sampleRate = reader.sampleRate();
    report.channels = reader.channels();
    report.format = outputFormat(job.output, job.subtype, reader.format(), rate, reader.channels());
    plugin.suspend();
    plugin.configure(reader.sampleRate(), *std::ranges::max_element(job.blockSizes),
                     reader.channels(), job.precision, vst::ProcessLevel::Offline);
    applyStartSettings(plugin, job.settings);
    AudioWriter writer(job.output, report.format, rate, reader.channels());
    writer.copyTags(reader);
    plugin.resume();
    report.latency = plugin.latency();
    if (job.precision == Precision::Double) {
        BlockLoop<double>(plugin, job, reader, writer).run(report);
    } else {
        BlockLoop<float>(plugin, job, reader, writer).run(report);
    }
    plugin.suspend();
    writer.commit();
    report.clippedSamples = writer.clippedSamples();
    report.invalidSamples = writer.invalidSamples();
    report.outputPeak = writer.peak();
    return report;
}

void requestStop() {
    stopRequested = 1;
}

bool isStopRequested() {
    return stopRequested != 0;
}

} // namespace lum::host
