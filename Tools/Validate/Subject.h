/// One instance of the plug-in under test, driven call by call in whatever order a check wants.
#pragma once

#include "Host/PluginModule.h"

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lum::validate {

/// What the host says of itself, and what it heard; the plug-in may ask from any thread.
struct HostModel {
    std::int32_t version = vst::kVersion24;
    std::string vendor = "Lumeron";
    std::string product = "sorrel-validate";
    std::int32_t rate = 48000;    // Hz, 0: not told
    std::int32_t blockSize = 512; // frames, 0: not told
    vst::ProcessLevel level = vst::ProcessLevel::Unknown;

    std::atomic<int> ioChanges{0};
    std::atomic<int> delayAtIoChange{-1}; // the effect's field when the last one came
};

/// Channels of samples.
template <class Sample>
using Planar = std::vector<std::vector<Sample>>;
using Bytes = std::vector<char>;

/// Used on one thread unless a check says otherwise; module and host model outlive it.
class Subject {
public:
    /// Enters the plug-in. Throws host::Failure when it gives no effect.
    explicit Subject(const host::PluginModule& module);
    Subject(const host::PluginModule& module, HostModel& host);
    ~Subject(); // closes
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    std::intptr_t send(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                       void* ptr = nullptr, float opt = 0.0F) const;
    std::string text(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0) const;

    /// Opens, sets rate and block size, resumes.
    void start(double rate, int blockSize = 512);
    void setRate(double rate, int blockSize = 512);
    void open() { send(vst::kEffectOpen); }
    void resume() { send(vst::kEffectMainsChanged, 0, 1); }
    void suspend() { send(vst::kEffectMainsChanged, 0, 0); }

    int parameterCount() const { return effect_->numParams; }
    void set(int index, float value) { effect_->setParameter(effect_, index, value); }
    float get(int index) const { return effect_->getParameter(effect_, index); }
    std::vector<float> parameters() const;
    /// Index of the parameter with that name, -1 for none.
    int find(std::string_view name) const;

    bool hasChunks() const { return (effect_->flags & vst::kFlagProgramChunks) != 0; }
    bool hasDouble() const { return (effect_->flags & vst::kFlagCanDoubleReplacing) != 0; }
    Bytes chunk(bool isProgram) const;
    bool load(bool isProgram, const Bytes& bytes) const;
    /// Loads a bank and selects a program: hosts keep its number beside the bytes.
    bool restore(const Bytes& bank, std::int32_t program) const;
    std::int32_t program() const { return static_cast<std::int32_t>(send(vst::kEffectGetProgram)); }

    int inputs() const { return effect_->numInputs; }
    int outputs() const { return effect_->numOutputs; }
    int latency() const { return effect_->initialDelay; }
    vst::AEffect& effect() { return *effect_; }
    HostModel& host() { return host_; }

    void process(float** in, float** out, int frames) {
        effect_->processReplacing(effect_, in, out, frames);
    }
    void process(double** in, double** out, int frames) {
        effect_->processDoubleReplacing(effect_, in, out, frames);
    }

private:
    static std::intptr_t LUM_VST_CALL callback(vst::AEffect* effect, std::int32_t opcode,
                                               std::int32_t index, std::intptr_t value, void* ptr,
                                               float opt);

    HostModel own_;
    HostModel& host_;
    vst::AEffect* effect_ = nullptr;
};

/// Sends a stream through the instance, in blocks whose lengths cycle through `blocks`. Missing
/// input channels are silent; the output has all of the plug-in's channels.
template <class Sample>
Planar<Sample> render(Subject& subject, const Planar<Sample>& input,
                      std::span<const int> blocks = {});

/// Sets every parameter to a value that the seed decides; bypass, where there is one, to off.
void scramble(Subject& subject, std::uint32_t seed);

} // namespace lum::validate
