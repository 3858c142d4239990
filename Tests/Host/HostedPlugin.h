#pragma once

#include "Audio/VST/VstAbi.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The plug-in's file, loaded as a host loads it.
class PluginFile {
public:
    PluginFile() {
        setenv("XDG_CONFIG_HOME", settingsFolder().c_str(), 1);
        handle = dlopen(path().c_str(), RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(handle, nullptr) << dlerror();
    }
    ~PluginFile() {
        if (handle) dlclose(handle);
    }
    PluginFile(const PluginFile&) = delete;
    PluginFile& operator=(const PluginFile&) = delete;

    lum::vst::PluginEntry entry(const char* name = lum::vst::kEntryName) const {
        return reinterpret_cast<lum::vst::PluginEntry>(dlsym(handle, name));
    }
    /// The file that is loaded; another than the built one only where a test says so.
    static std::string& path() {
        static std::string file = LUM_PLUGIN;
        return file;
    }
    /// Where the plug-in looks for settings; none of the user's unless a test says so.
    static std::string& settingsFolder() {
        static std::string folder = "/dev/null";
        return folder;
    }
    static bool isStillMapped() {
        void* mapped = dlopen(LUM_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
        if (mapped) dlclose(mapped);
        return mapped != nullptr;
    }

private:
    void* handle = nullptr;
};

/// What the host says of itself, and what it heard. One host at a time is enough for the tests.
struct HostModel {
    int32_t version = 2400;
    std::string product = "Test Host";
    std::string vendor = "Test Vendor";
    int32_t level = 0;
    int ioChanges = 0;
    std::function<void(int32_t opcode)> heard; // on the thread that calls
    std::vector<std::pair<int32_t, float>> automations;

    static HostModel& current() {
        static HostModel model;
        return model;
    }
    static intptr_t LUM_VST_CALL callback(lum::vst::AEffect*, int32_t opcode, int32_t index,
                                          intptr_t, void* ptr, float opt) {
        HostModel& host = current();
        if (host.heard) host.heard(opcode);
        switch (opcode) {
        case lum::vst::kHostVersion:
            return host.version;
        case lum::vst::kHostGetProductString:
            return fill(ptr, host.product);
        case lum::vst::kHostGetVendorString:
            return fill(ptr, host.vendor);
        case lum::vst::kHostGetProcessLevel:
            return host.level;
        case lum::vst::kHostIoChanged:
            return ++host.ioChanges;
        case lum::vst::kHostAutomate:
            host.automations.push_back({index, opt});
            return 0;
        default:
            return 0;
        }
    }

private:
    static intptr_t fill(void* ptr, const std::string& text) {
        std::memcpy(ptr, text.c_str(), text.size() + 1);
        return 1;
    }
};

/// An instance, driven through the host interface alone.
class Instance {
public:
    explicit Instance(const char* entryName = lum::vst::kEntryName)
        : effect(file.entry(entryName)(&HostModel::callback)) {}
    ~Instance() {
        if (effect) send(lum::vst::kEffectClose);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    intptr_t send(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                  float opt = 0.0F) {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    std::string text(int32_t opcode, int32_t index = 0) {
        char buffer[256] = {};
        send(opcode, index, 0, buffer);
        return buffer;
    }
    void open(double rate, int blockSize = 512) {
        send(lum::vst::kEffectOpen);
        send(lum::vst::kEffectSetSampleRate, 0, 0, nullptr, static_cast<float>(rate));
        send(lum::vst::kEffectSetBlockSize, 0, blockSize);
        send(lum::vst::kEffectMainsChanged, 0, 1);
    }
    void suspend() { send(lum::vst::kEffectMainsChanged, 0, 0); }
    void resume() { send(lum::vst::kEffectMainsChanged, 0, 1); }
    void set(int index, float value) { effect->setParameter(effect, index, value); }

    PluginFile file;
    lum::vst::AEffect* effect;
};

/// Channels of samples.
template <class Sample>
using Planar = std::vector<std::vector<Sample>>;

template <class Sample>
Planar<Sample> noise(int channels, int frames, uint32_t seed = 1) {
    Planar<Sample> out(static_cast<size_t>(channels),
                       std::vector<Sample>(static_cast<size_t>(frames)));
    uint32_t state = seed;
    for (auto& channel : out)
        for (Sample& sample : channel) {
            state = state * 1664525U + 1013904223U;
            sample = static_cast<Sample>(static_cast<int32_t>(state)) / Sample(2147483648.0);
        }
    return out;
}

/// Runs a stream through the instance in blocks whose lengths cycle through `blocks`.
template <class Sample>
Planar<Sample> render(Instance& instance, const Planar<Sample>& input,
                      const std::vector<int>& blocks = {512}) {
    Planar<Sample> output(input.size(), std::vector<Sample>(input[0].size(), Sample(-99)));
    const auto total = static_cast<int>(input[0].size());
    size_t turn = 0;
    for (int position = 0; position < total;) {
        const int frames = std::min(blocks[turn++ % blocks.size()], total - position);
        std::vector<Sample*> in;
        std::vector<Sample*> out;
        for (size_t channel = 0; channel < input.size(); channel++) {
            in.push_back(const_cast<Sample*>(input[channel].data()) + position);
            out.push_back(output[channel].data() + position);
        }
        if constexpr (std::is_same_v<Sample, float>)
            instance.effect->processReplacing(instance.effect, in.data(), out.data(), frames);
        else
            instance.effect->processDoubleReplacing(instance.effect, in.data(), out.data(), frames);
        position += frames;
    }
    return output;
}
