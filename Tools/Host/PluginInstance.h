/// One running instance of a plug-in, from its entry's return to close.
#pragma once

#include "Host/HostSession.h"
#include "Host/PluginModule.h"
#include "Host/StateFile.h"

#include <optional>
#include <string>
#include <vector>

namespace lum::host {

enum class Precision { Single, Double };

/// Owned by a command, used on one thread. The module must outlive it.
class PluginInstance {
public:
    /// Makes and opens an instance. Throws Failure when the plug-in refuses.
    explicit PluginInstance(const PluginModule& module);
    ~PluginInstance();
    PluginInstance(const PluginInstance&) = delete;
    PluginInstance& operator=(const PluginInstance&) = delete;

    /// Sets rate (Hz), largest block (frames), channels and precision, while not running.
    /// Throws Failure when the plug-in cannot carry so many channels or 64-bit samples.
    void configure(double sampleRate, int blockSize, int channels, Precision precision,
                   vst::ProcessLevel level);
    void resume();
    void suspend();

    /// One block; buffers of inputCount() and outputCount() channels.
    void process(float** inputs, float** outputs, int frames);
    void process(double** inputs, double** outputs, int frames);

    vst::AEffect& effect() { return *effect_; }
    const vst::AEffect& effect() const { return *effect_; }
    int inputCount() const { return effect_->numInputs; }
    int outputCount() const { return effect_->numOutputs; }
    int latency() const { return effect_->initialDelay; }
    bool has(vst::EffectFlag flag) const { return (effect_->flags & flag) != 0; }
    bool takesArrangement() const { return takesArrangement_; }
    const HostSession& session() const { return session_; }

    std::intptr_t dispatch(vst::EffectOpcode opcode, std::int32_t index = 0,
                           std::intptr_t value = 0, void* ptr = nullptr, float opt = 0.0f) const;
    /// Text that the plug-in writes for this opcode; empty when it writes none.
    std::string text(vst::EffectOpcode opcode, int index = 0, std::intptr_t value = 0) const;

    int parameterCount() const { return effect_->numParams; }
    std::string parameterName(int index) const;
    std::string parameterUnit(int index) const;
    std::string parameterDisplay(int index) const;
    float parameter(int index) const { return effect_->getParameter(effect_, index); }
    void setParameter(int index, float value) { effect_->setParameter(effect_, index, value); }

    int programCount() const { return effect_->numPrograms; }
    int program() const { return static_cast<int>(dispatch(vst::kEffectGetProgram)); }
    std::string programName(int index) const;
    void setProgram(int index);

    /// The state of all programs or of the present one. Throws Failure when there is none to be
    /// had.
    std::string chunk(StateKind kind) const;
    /// False: the plug-in refuses it.
    bool setChunk(StateKind kind, const std::string& bytes);

private:
    void arrangeChannels(int channels);

    HostSession session_;
    vst::AEffect* effect_ = nullptr;
    bool isRunning_ = false;
    bool takesArrangement_ = false;
};

} // namespace lum::host
