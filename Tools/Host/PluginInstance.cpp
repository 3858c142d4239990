#include "Host/PluginInstance.h"

#include "Host/Failure.h"

#include <array>
#include <cstring>

namespace lum::host {

namespace {

using vst::ArrangementType;
using vst::SpeakerType;

struct NamedSpeaker {
    SpeakerType type;
    const char* name;
};

constexpr NamedSpeaker kMono[] = {{SpeakerType::Mono, "M"}};
constexpr NamedSpeaker kSpeakers[] = {
    {SpeakerType::Left, "L"},          {SpeakerType::Right, "R"},
    {SpeakerType::Centre, "C"},        {SpeakerType::LowFrequency, "LFE"},
    {SpeakerType::LeftSurround, "Ls"}, {SpeakerType::RightSurround, "Rs"},
    {SpeakerType::SideLeft, "Sl"},     {SpeakerType::SideRight, "Sr"},
};
constexpr ArrangementType kTypes[] = {
    ArrangementType::Empty,      ArrangementType::Mono,        ArrangementType::Stereo,
    ArrangementType::Cine30,     ArrangementType::Cine31,      ArrangementType::UserDefined,
    ArrangementType::Surround51, ArrangementType::UserDefined, ArrangementType::Music71,
};
constexpr int kMaxChannels = 8;

vst::SpeakerArrangement arrangementOf(int channels) {
    vst::SpeakerArrangement arrangement{};
    arrangement.type = static_cast<std::int32_t>(kTypes[channels]);
    arrangement.numChannels = channels;
    for (int i = 0; i < channels; ++i) {
        const NamedSpeaker& source = channels == 1 ? kMono[0] : kSpeakers[i];
        auto& speaker = arrangement.speakers[i];
        speaker.type = static_cast<std::int32_t>(source.type);
        speaker.radius = 1.0f;
        std::strncpy(speaker.name, source.name, sizeof speaker.name - 1);
    }
    return arrangement;
}

} // namespace

PluginInstance::PluginInstance(const PluginModule& module) {
    {
        const HostSession::Construction construction(session_);
        effect_ = module.entry()(&HostSession::callback);
        if (effect_ == nullptr || effect_->magic != vst::kMagic) {
            throw Failure("the plug-in \"" + module.path().string() + "\" refused to start");
        }
        session_.attach(*effect_);
    }
    dispatch(vst::kEffectOpen);
}

PluginInstance::~PluginInstance() {
    suspend();
    dispatch(vst::kEffectClose);
}

void PluginInstance::configure(double sampleRate, int blockSize, int channels, Precision precision,
                               vst::ProcessLevel level) {
    if (channels > inputCount() || channels > outputCount()) {
        throw Failure("the plug-in takes at most " +
                      std::to_string(std::min(inputCount(), outputCount())) + " channels, not " +
                      std::to_string(channels));
    }
    if (precision == Precision::Double && !has(vst::kFlagCanDoubleReplacing)) {
        throw Failure("the plug-in processes 32-bit samples only (use --bits 32)");
    }
    session_.sampleRate = sampleRate;
    session_.blockSize = blockSize;
    session_.processLevel = level;
    session_.samplePosition = 0.0;
    dispatch(vst::kEffectSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    dispatch(vst::kEffectSetBlockSize, 0, blockSize);
    dispatch(vst::kEffectSetProcessPrecision, 0, precision == Precision::Double ? 1 : 0);
    arrangeChannels(channels);
}

void PluginInstance::arrangeChannels(int channels) {
    if (channels < 1 || channels > kMaxChannels) return;
    vst::SpeakerArrangement inputs = arrangementOf(channels);
    vst::SpeakerArrangement outputs = inputs;
    takesArrangement_ = dispatch(vst::kEffectSetSpeakerArrangement, 0,
                                 reinterpret_cast<std::intptr_t>(&inputs), &outputs) == 1;
}

void PluginInstance::resume() {
    if (isRunning_) return;
    dispatch(vst::kEffectMainsChanged, 0, 1);
    dispatch(vst::kEffectStartProcess);
    isRunning_ = true;
}

void PluginInstance::suspend() {
    if (!isRunning_) return;
    dispatch(vst::kEffectStopProcess);
    dispatch(vst::kEffectMainsChanged, 0, 0);
    isRunning_ = false;
}

void PluginInstance::process(float** inputs, float** outputs, int frames) {
    effect_->processReplacing(effect_, inputs, outputs, frames);
    session_.samplePosition += frames;
}

void PluginInstance::process(double** inputs, double** outputs, int frames) {
    effect_->processDoubleReplacing(effect_, inputs, outputs, frames);
    session_.samplePosition += frames;
}

std::intptr_t PluginInstance::dispatch(vst::EffectOpcode opcode, std::int32_t index,
                                       std::intptr_t value, void* ptr, float opt) const {
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

std::string PluginInstance::text(vst::EffectOpcode opcode, int index, std::intptr_t value) const {
    // Plug-ins overrun the nominal 8 to 64 bytes; 256 is what the kindest hosts offer.
    std::array<char, 256> buffer{};
    dispatch(opcode, index, value, buffer.data());
    buffer.back() = '\0';
    return buffer.data();
}

std::string PluginInstance::parameterName(int index) const {
    return text(vst::kEffectGetParameterName, index);
}

std::string PluginInstance::parameterUnit(int index) const {
    return text(vst::kEffectGetParameterLabel, index);
}

std::string PluginInstance::parameterDisplay(int index) const {
    return text(vst::kEffectGetParameterDisplay, index);
}

std::string PluginInstance::programName(int index) const {
    return text(vst::kEffectProgramNameIndexed, index, -1);
}

void PluginInstance::setProgram(int index) {
    dispatch(vst::kEffectBeginSetProgram);
    dispatch(vst::kEffectSetProgram, 0, index);
    dispatch(vst::kEffectEndSetProgram);
}

std::string PluginInstance::chunk(StateKind kind) const {
    const void* data = nullptr;
    const auto size =
        has(vst::kFlagProgramChunks)
            ? dispatch(vst::kEffectGetChunk, static_cast<std::int32_t>(kind), 0, &data)
            : 0;
    if (data == nullptr || size <= 0) throw Failure("the plug-in has no state to save");
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

bool PluginInstance::setChunk(StateKind kind, const std::string& bytes) {
    if (!has(vst::kFlagProgramChunks)) return false;
    // The contract takes a plain pointer and only reads from it.
    return dispatch(vst::kEffectSetChunk, static_cast<std::int32_t>(kind),
                    static_cast<std::intptr_t>(bytes.size()), const_cast<char*>(bytes.data())) == 1;
}

} // namespace lum::host
