/// A plug-in's binary, loaded for as long as this object lives.
#pragma once

#include "Audio/VST/VstAbi.h"

#include <filesystem>

namespace lum::host {

class PluginModule {
public:
    /// Loads the binary and finds its entry. Throws Failure with the loader's own words.
    explicit PluginModule(const std::filesystem::path& path);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    vst::PluginEntry entry() const { return entry_; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    void* handle_ = nullptr;
    vst::PluginEntry entry_ = nullptr;
};

/// The plug-in that lies beside this program, used when none is named.
std::filesystem::path pluginBesideProgram();

} // namespace lum::host
