// A small plug-in for the tests of the host program: a gain and a fixed delay that it reports.
// "Gain" converts texts itself, "Trim" and "Mode" leave that to the host. The gain takes effect at
// the next block, so that a test sees at which frame a host changed it.

#include "Audio/VST/VstAbi.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace lum::vst;

namespace {

constexpr int kChannels = 8;
constexpr double kRangeDb = 48.0;          // -24 to +24
constexpr double kFramesPerHz = 1.0 / 480; // latency: 100 frames at 48 kHz, 92 at 44.1 kHz
enum Parameter { kGain, kTrim, kMode, kParameterCount };
constexpr const char* kNames[] = {"Gain", "Trim", "Mode"};
constexpr const char* kUnits[] = {"dB", "dB", ""};

struct TestPlugin {
    AEffect effect{};
    float values[kParameterCount] = {0.5f, 0.5f, 0.0f};
    double sampleRate = 44100.0;
    std::vector<double> lines[kChannels];
    std::size_t position = 0;
};

TestPlugin& pluginOf(AEffect* effect) {
    return *static_cast<TestPlugin*>(effect->object);
}

double decibels(float value) {
    return (static_cast<double>(value) - 0.5) * kRangeDb;
}

void showValue(int index, float value, void* ptr) {
    auto* text = static_cast<char*>(ptr);
    if (index == kMode) {
        std::snprintf(text, 8, "%s", value < 0.5f ? "Off" : "On");
    } else {
        std::snprintf(text, 8, "%.1f", decibels(value));
    }
}

void resume(TestPlugin& plugin) {
    const auto latency = static_cast<std::size_t>(std::lround(plugin.sampleRate * kFramesPerHz));
    for (auto& line : plugin.lines) line.assign(latency, 0.0);
    plugin.position = 0;
    plugin.effect.initialDelay = static_cast<std::int32_t>(latency);
}

std::intptr_t convertText(int index, void* ptr) {
    if (index != kGain) return 0;
    auto* text = static_cast<char*>(ptr);
    const double value = std::clamp(std::atof(text) / kRangeDb + 0.5, 0.0, 1.0);
    std::snprintf(text, 9, "%f", value);
    return 0xBEEF;
}

std::intptr_t answer(void* ptr, const char* text) {
    std::strcpy(static_cast<char*>(ptr), text);
    return 1;
}

std::intptr_t dispatch(AEffect* effect, std::int32_t opcode, std::int32_t index,
                       std::intptr_t value, void* ptr, float opt) {
    TestPlugin& plugin = pluginOf(effect);
    switch (opcode) {
    case kEffectClose:
        delete &plugin;
        return 0;
    case kEffectSetSampleRate:
        plugin.sampleRate = static_cast<double>(opt);
        return 0;
    case kEffectMainsChanged:
        if (value == 1) resume(plugin);
        return 0;
    case kEffectGetParameterName:
        return answer(ptr, kNames[index]);
    case kEffectGetParameterLabel:
        return answer(ptr, kUnits[index]);
    case kEffectGetParameterDisplay:
        showValue(index, plugin.values[index], ptr);
        return 0;
    case kEffectGetEffectName:
        return answer(ptr, "Test \"Gain\" <&>");
    case kEffectGetVendorVersion:
        return 0x010203;
    case kEffectCanBeAutomated:
        return 1;
    case kEffectSetSpeakerArrangement:
        return reinterpret_cast<SpeakerArrangement*>(value)->numChannels <= kChannels ? 1 : 0;
    case kEffectSetProcessPrecision:
        return 1;
    case kEffectVendorSpecific:
        return index == 27 ? convertText(static_cast<int>(value), ptr) : 0;
    case kEffectGetVstVersion:
        return kVersion24;
    default:
        return 0;
    }
}

template <typename Sample>
void process(AEffect* effect, Sample** inputs, Sample** outputs, std::int32_t frames) {
    TestPlugin& plugin = pluginOf(effect);
    const double db = decibels(plugin.values[kGain]) + decibels(plugin.values[kTrim]);
    const double gain = plugin.values[kMode] < 0.5f ? std::pow(10.0, db / 20.0) : 0.0;
    for (std::int32_t i = 0; i < frames; ++i) {
        for (int c = 0; c < kChannels; ++c) {
            double& slot = plugin.lines[c][plugin.position];
            const double input = static_cast<double>(inputs[c][i]);
            outputs[c][i] = static_cast<Sample>(slot);
            slot = input * gain;
        }
        plugin.position = (plugin.position + 1) % plugin.lines[0].size();
    }
}

void setParameter(AEffect* effect, std::int32_t index, float value) {
    pluginOf(effect).values[index] = value;
}

float getParameter(AEffect* effect, std::int32_t index) {
    return pluginOf(effect).values[index];
}

} // namespace

extern "C" __attribute__((visibility("default"))) AEffect* VSTPluginMain(HostCallback host) {
    if (host(nullptr, kHostVersion, 0, 0, nullptr, 0.0f) == 0) return nullptr;
    auto* plugin = new TestPlugin;
    AEffect& effect = plugin->effect;
    effect.magic = kMagic;
    effect.dispatcher = dispatch;
    effect.process = process<float>;
    effect.setParameter = setParameter;
    effect.getParameter = getParameter;
    effect.numParams = kParameterCount;
    effect.numInputs = effect.numOutputs = kChannels;
    effect.flags = kFlagCanReplacing | kFlagCanDoubleReplacing;
    effect.object = plugin;
    effect.uniqueId = fourCharacters('t', 'e', 's', 't');
    effect.processReplacing = process<float>;
    effect.processDoubleReplacing = process<double>;
    host(&effect, 4711, 0, 0, nullptr, 0.0f); // a number that no host knows
    return &effect;
}
