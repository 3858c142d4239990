/// What a plug-in tells of itself.
#pragma once

#include "Host/PluginInstance.h"

#include <ostream>
#include <string>
#include <vector>

namespace lum::host {

struct ParameterInfo {
    std::string name;
    std::string display;
    std::string unit;
    float value = 0.0f; // normalised
    bool isAutomatable = false;
};

struct LatencyInfo {
    int sampleRate = 0; // Hz
    int frames = 0;
};

struct PluginInfo {
    std::string path, name, product, vendor;
    std::int32_t uniqueId = 0;
    std::int32_t version = 0;       // as in the effect record
    std::int32_t vendorVersion = 0; // as answered
    std::int32_t category = 0;
    int inputs = 0;
    int outputs = 0;
    std::vector<std::string> flags;
    std::vector<std::string> programs;
    int program = 0;
    std::vector<LatencyInfo> latencies;
    std::vector<ParameterInfo> parameters;
    std::int64_t unknownHostCalls = 0;
};

/// Asks the plug-in for everything; starts and stops it once per sample rate.
PluginInfo gatherInfo(PluginInstance& plugin, const std::string& path);

void printText(std::ostream& out, const PluginInfo& info);
void printJson(std::ostream& out, const PluginInfo& info);

/// Four characters where all can be printed, else hexadecimal.
std::string idText(std::int32_t id);

} // namespace lum::host
