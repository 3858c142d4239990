#include "Host/PluginModule.h"

#include "Host/Failure.h"

#include <dlfcn.h>

namespace lum::host {

namespace {

constexpr const char* kDefaultPlugin = "SorrelGEQ.so";

std::filesystem::path existingPlugin(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw Failure("there is no plug-in at \"" + path.string() +
                      "\" (name another one with --plugin)");
    }
    // A bare file name would make the loader search the system's library folders.
    return std::filesystem::absolute(path);
}

} // namespace

PluginModule::PluginModule(const std::filesystem::path& path) : path_(existingPlugin(path)) {
    handle_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw Failure("cannot load the plug-in: " + std::string(dlerror()));
    void* symbol = dlsym(handle_, vst::kEntryName);
    if (symbol == nullptr) symbol = dlsym(handle_, vst::kOldEntryName);
    if (symbol == nullptr) {
        dlclose(handle_);
        throw Failure("\"" + path_.string() + "\" is not a VST2 plug-in: it has no entry " +
                      vst::kEntryName);
    }
    entry_ = reinterpret_cast<vst::PluginEntry>(symbol);
}

PluginModule::~PluginModule() {
    dlclose(handle_);
}

std::filesystem::path pluginBesideProgram() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path(kDefaultPlugin) : program.parent_path() / kDefaultPlugin;
}

} // namespace lum::host
