#include "Host/PluginInfo.h"

#include "Host/Json.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iomanip>

namespace lum::host {

namespace {

constexpr int kUsualRates[] = {44100, 48000, 88200, 96000, 176400, 192000}; // Hz
constexpr int kBlockSize = 512;

struct NamedFlag {
    vst::EffectFlag flag;
    const char* name;
};

constexpr NamedFlag kFlags[] = {
    {vst::kFlagHasEditor, "editor"},
    {vst::kFlagCanReplacing, "32-bit"},
    {vst::kFlagCanDoubleReplacing, "64-bit"},
    {vst::kFlagProgramChunks, "chunks"},
    {vst::kFlagIsSynth, "synth"},
    {vst::kFlagNoSoundInStop, "silent-in-stop"},
};

constexpr const char* kCategories[] = {
    "unknown", "effect",          "synth",       "analysis",        "mastering", "spatialiser",
    "room",    "surround effect", "restoration", "offline process", "shell",     "generator",
};

std::string categoryName(std::int32_t category) {
    const bool isKnown = category >= 0 && category < static_cast<int>(std::size(kCategories));
    return isKnown ? kCategories[category] : std::to_string(category);
}

/// Versions are packed by custom as major, minor and third number, a byte each.
std::string versionText(std::int32_t version) {
    return std::to_string(version >> 16) + "." + std::to_string((version >> 8) & 0xff) + "." +
           std::to_string(version & 0xff);
}

std::vector<LatencyInfo> gatherLatencies(PluginInstance& plugin) {
    std::vector<LatencyInfo> latencies;
    latencies.reserve(std::size(kUsualRates));
    const int channels = std::min({2, plugin.inputCount(), plugin.outputCount()});
    for (const int rate : kUsualRates) {
        plugin.configure(rate, kBlockSize, channels, Precision::Single, vst::ProcessLevel::User);
        plugin.resume();
        latencies.push_back({rate, plugin.latency()});
        plugin.suspend();
    }
    return latencies;
}

std::vector<ParameterInfo> gatherParameters(const PluginInstance& plugin) {
    std::vector<ParameterInfo> parameters;
    parameters.reserve(static_cast<std::size_t>(plugin.parameterCount()));
    for (int i = 0; i < plugin.parameterCount(); ++i) {
        parameters.push_back({plugin.parameterName(i), plugin.parameterDisplay(i),
                              plugin.parameterUnit(i), plugin.parameter(i),
                              plugin.dispatch(vst::kEffectCanBeAutomated, i) == 1});
    }
    return parameters;
}

template <typename Items, typename Print>
void printList(std::ostream& out, const Items& items, const char* separator, Print print) {
    bool isFirst = true;
    for (const auto& item : items) {
        if (!isFirst) out << separator;
        isFirst = false;
        print(item);
    }
}

} // namespace

PluginInfo gatherInfo(PluginInstance& plugin, const std::string& path) {
    const auto& effect = plugin.effect();
    PluginInfo info;
    info.path = path;
    info.name = plugin.text(vst::kEffectGetEffectName);
    info.product = plugin.text(vst::kEffectGetProductString);
    info.vendor = plugin.text(vst::kEffectGetVendorString);
    info.uniqueId = effect.uniqueId;
    info.version = effect.version;
    info.vendorVersion = static_cast<std::int32_t>(plugin.dispatch(vst::kEffectGetVendorVersion));
    info.category = static_cast<std::int32_t>(plugin.dispatch(vst::kEffectGetCategory));
    info.inputs = plugin.inputCount();
    info.outputs = plugin.outputCount();
    for (const auto& row : kFlags) {
        if (plugin.has(row.flag)) info.flags.emplace_back(row.name);
    }
    for (int i = 0; i < plugin.programCount(); ++i) info.programs.push_back(plugin.programName(i));
    info.program = plugin.program();
    info.parameters = gatherParameters(plugin);
    info.latencies = gatherLatencies(plugin);
    info.unknownHostCalls = plugin.session().unknownCalls;
    return info;
}

std::string idText(std::int32_t id) {
    const auto bits = static_cast<std::uint32_t>(id);
    std::string text;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        text += static_cast<char>((bits >> shift) & 0xffU);
    }
    if (std::ranges::all_of(text, [](unsigned char c) { return std::isprint(c) != 0; }))
        return text;
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08x", bits);
    return hex;
}

void printText(std::ostream& out, const PluginInfo& info) {
    out << "plug-in    " << info.name << "\nproduct    " << info.product << "\nvendor     "
        << info.vendor << "\nversion    " << versionText(info.vendorVersion) << "\nid         "
        << idText(info.uniqueId) << "\ncategory   " << categoryName(info.category)
        << "\nchannels   " << info.inputs << " in, " << info.outputs << " out\nflags      ";
    printList(out, info.flags, ", ", [&](const auto& flag) { out << flag; });
    out << "\nlatency    ";
    printList(out, info.latencies, "\n           ", [&](const LatencyInfo& latency) {
        out << std::setw(5) << latency.frames << " frames at " << latency.sampleRate << " Hz ("
            << std::fixed << std::setprecision(2) << 1000.0 * latency.frames / latency.sampleRate
            << " ms)" << std::defaultfloat;
    });
    out << "\n\nprograms   " << info.programs.size() << '\n';
    for (std::size_t i = 0; i < info.programs.size(); ++i) {
        const bool isCurrent = static_cast<int>(i) == info.program;
        out << std::setw(4) << i << (isCurrent ? " *" : "  ") << info.programs[i] << '\n';
    }
    out << "\nparameters " << info.parameters.size() << '\n';
    for (std::size_t i = 0; i < info.parameters.size(); ++i) {
        const auto& parameter = info.parameters[i];
        out << std::setw(4) << i << "  " << std::left << std::setw(10) << parameter.name
            << std::right << std::setw(10) << parameter.display << ' ' << std::left << std::setw(4)
            << parameter.unit << std::right << std::fixed << std::setprecision(6) << "  ("
            << parameter.value << ")" << (parameter.isAutomatable ? "" : "  not automatable")
            << std::defaultfloat << '\n';
    }
    if (info.unknownHostCalls > 0) {
        out << "\nThe plug-in asked " << info.unknownHostCalls
            << " times what this host does not know.\n";
    }
}

void printJson(std::ostream& out, const PluginInfo& info) {
    out << "{\n  \"path\": " << jsonString(info.path) << ",\n  \"name\": " << jsonString(info.name)
        << ",\n  \"product\": " << jsonString(info.product)
        << ",\n  \"vendor\": " << jsonString(info.vendor)
        << ",\n  \"version\": " << jsonString(versionText(info.vendorVersion))
        << ",\n  \"vendorVersion\": " << info.vendorVersion
        << ",\n  \"effectVersion\": " << info.version
        << ",\n  \"id\": " << jsonString(idText(info.uniqueId))
        << ",\n  \"uniqueId\": " << info.uniqueId
        << ",\n  \"category\": " << jsonString(categoryName(info.category))
        << ",\n  \"inputs\": " << info.inputs << ",\n  \"outputs\": " << info.outputs
        << ",\n  \"flags\": [";
    printList(out, info.flags, ", ", [&](const auto& flag) { out << jsonString(flag); });
    out << "],\n  \"program\": " << info.program << ",\n  \"programs\": [";
    printList(out, info.programs, ", ", [&](const auto& name) { out << jsonString(name); });
    out << "],\n  \"latencies\": [";
    printList(out, info.latencies, ", ", [&](const LatencyInfo& latency) {
        out << "{\"sampleRate\": " << latency.sampleRate << ", \"frames\": " << latency.frames
            << "}";
    });
    out << "],\n  \"parameters\": [\n";
    printList(out, info.parameters, ",\n", [&](const ParameterInfo& parameter) {
        out << "    {\"name\": " << jsonString(parameter.name)
            << ", \"display\": " << jsonString(parameter.display)
            << ", \"unit\": " << jsonString(parameter.unit)
            << ", \"value\": " << std::setprecision(9) << parameter.value
            << ", \"automatable\": " << (parameter.isAutomatable ? "true" : "false") << "}";
    });
    out << "\n  ]\n}\n";
}

} // namespace lum::host
