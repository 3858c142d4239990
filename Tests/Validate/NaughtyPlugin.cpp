// A small delay line with one parameter and chunks, which behaves: unless the environment's NAUGHTY
// names a fault. So the validator shows that it finds each of them.

#include "Audio/VST/VstAbi.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <numbers>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xmmintrin.h>

namespace {

using namespace lum::vst;

constexpr int kDelay = 32;  // frames
constexpr int kFade = 1000; // frames

bool has(const char* fault) {
    const char* wanted = std::getenv("NAUGHTY");
    return wanted && std::strcmp(wanted, fault) == 0;
}

/// Memory that the compiler cannot take out again.
void* allocate(std::size_t size) {
    void* volatile memory = std::malloc(size);
    std::memset(memory, 1, size);
    return memory;
}

struct Plugin {
    AEffect effect{};
    float gain = 0.5F;
    float from = 0.5F, to = 0.5F; // of the present fade
    int faded = kFade;            // frames of it
    float line[kDelay] = {};
    int position = 0;
    bool isRunning = false;
    float held = 0.0F;
    float chunk = 0.0F;
};

Plugin& self(AEffect* effect) {
    return *static_cast<Plugin*>(effect->object);
}

/// The gain of the next frame: it crosses over by the raised cosine, and what comes then waits.
float nextGain(Plugin& plugin) {
    if (plugin.faded == kFade && plugin.to != plugin.gain) {
        plugin.from = plugin.to;
        plugin.to = plugin.gain;
        plugin.faded = has("clicks") ? kFade : 0;
    }
    if (plugin.faded == kFade) return plugin.to;
    const double share = static_cast<double>(++plugin.faded) / kFade;
    const double step = has("ramps") ? share : 0.5 - 0.5 * std::cos(std::numbers::pi * share);
    return static_cast<float>(plugin.from + step * (plugin.to - plugin.from));
}

template <class Sample>
void process(AEffect* effect, Sample** in, Sample** out, std::int32_t frames) {
    Plugin& plugin = self(effect);
    if (has("allocates")) std::free(allocate(static_cast<std::size_t>(frames) + 1));
    if (!out || !out[0]) return;
    for (std::int32_t i = 0; i < frames; i++) {
        const float input = in && in[0] ? static_cast<float>(in[0][i]) : 0.0F;
        float heard = plugin.line[plugin.position];
        plugin.line[plugin.position] = input;
        plugin.position = (plugin.position + 1) % kDelay;
        if (has("keeps-nan")) heard += plugin.held = 0.5F * (plugin.held + heard * 1e-9F);
        if (has("depends-on-blocks") && i == 0) heard += 1e-6F;
        out[0][i] = static_cast<Sample>(heard * nextGain(plugin));
    }
    if (has("writes-beside")) out[0][frames] = Sample(0.25);
}

void setParameter(AEffect* effect, std::int32_t index, float value) {
    if (index == 0 && value >= 0.0F) self(effect).gain = std::fmin(value, 1.0F);
    if (index == 0 && has("takes-anything")) self(effect).gain = value;
}

float getParameter(AEffect* effect, std::int32_t index) {
    return index == 0 ? self(effect).gain : 0.0F;
}

std::intptr_t answerText(void* ptr, const char* text) {
    if (ptr) std::strcpy(static_cast<char*>(ptr), text);
    return 1;
}

std::intptr_t getChunk(Plugin& plugin, void** data) {
    plugin.chunk = has("forgets") ? 0.25F : plugin.gain;
    if (data) *data = &plugin.chunk;
    return data ? sizeof plugin.chunk : 0;
}

std::intptr_t setChunk(Plugin& plugin, std::intptr_t size, const void* data) {
    float value = 0.0F;
    if (!data || size != sizeof value) return 0;
    std::memcpy(&value, data, sizeof value);
    if (!(value >= 0.0F && value <= 1.0F)) return 0;
    plugin.gain = value;
    return 1;
}

void misbehaveAtResume() {
    if (has("sets-mode")) _mm_setcsr(_mm_getcsr() | 0x8040);
    if (has("sets-folder") && chdir("/") != 0) std::abort();
    if (has("prints")) std::puts("hello"), std::fflush(stdout);
    if (has("leaks")) allocate(1 << 16);
    if (has("crashes")) std::abort();
    if (has("hangs"))
        while (true) pause();
}

std::intptr_t dispatch(AEffect* effect, std::int32_t opcode, std::int32_t, std::intptr_t value,
                       void* ptr, float) {
    Plugin& plugin = self(effect);
    switch (opcode) {
    case kEffectOpen:
        if (has("starts-thread")) std::thread([] { pause(); }).detach();
        if (has("makes-file")) close(open("litter", O_CREAT | O_WRONLY, 0600));
        return 0;
    case kEffectClose:
        delete &plugin;
        return 1;
    case kEffectMainsChanged:
        if (value) misbehaveAtResume();
        plugin.to = plugin.gain;
        plugin.faded = kFade;
        return 0;
    case kEffectGetChunk:
        return getChunk(plugin, static_cast<void**>(ptr));
    case kEffectSetChunk:
        return setChunk(plugin, value, ptr);
    case kEffectGetEffectName:
        return answerText(ptr,
                          has("long-text") ? "A name of more than thirty-one characters" : "N");
    case kEffectGetParameterName:
        return answerText(ptr, "Gain");
    case kEffectGetVstVersion:
        return kVersion24;
    default:
        return opcode > kEffectGetMidiOutputChannels && has("knows-all") ? 1 : 0;
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) AEffect* VSTPluginMain(HostCallback) {
    auto* plugin = new Plugin;
    AEffect& effect = plugin->effect;
    effect.magic = kMagic;
    effect.dispatcher = &dispatch;
    effect.process = &process<float>;
    effect.setParameter = &setParameter;
    effect.getParameter = &getParameter;
    effect.numPrograms = 1;
    effect.numParams = 1;
    effect.numInputs = 1;
    effect.numOutputs = 1;
    effect.flags = kFlagCanReplacing | kFlagCanDoubleReplacing | kFlagProgramChunks;
    effect.initialDelay = has("wrong-latency") ? kDelay - 1 : kDelay;
    effect.object = plugin;
    effect.processReplacing = &process<float>;
    effect.processDoubleReplacing = &process<double>;
    return &effect;
}
