#include "Host/HostSession.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string_view>

namespace lum::host {

namespace {

constexpr double kTempo = 120.0; // quarter notes a minute; a file has no tempo of its own
constexpr std::intptr_t kHostVersionNumber = 1000;
constexpr std::string_view kVendor = "Lumeron";
constexpr std::string_view kProduct = "sorrel-host";

constexpr std::string_view kAbilities[] = {
    "sendVstEvents",   "sendVstMidiEvent", "sendVstTimeInfo", "reportConnectionChanges",
    "acceptIOChanges", "startStopProcess", "offline",
};

thread_local HostSession* constructing = nullptr;

std::intptr_t fillText(void* ptr, std::string_view text) {
    if (ptr == nullptr) return 0;
    auto* target = static_cast<char*>(ptr);
    target[text.copy(target, vst::kVendorTextSize - 1)] = '\0';
    return 1;
}

std::intptr_t canDo(const void* ptr) {
    if (ptr == nullptr) return 0;
    const std::string_view asked = static_cast<const char*>(ptr);
    return std::ranges::find(kAbilities, asked) != std::end(kAbilities) ? 1 : 0;
}

} // namespace

std::intptr_t LUM_VST_CALL HostSession::callback(vst::AEffect* effect, std::int32_t opcode,
                                                 std::int32_t, std::intptr_t, void* ptr, float) {
    auto* session = effect != nullptr && effect->hostReserved1 != 0
                        ? reinterpret_cast<HostSession*>(effect->hostReserved1)
                        : constructing;
    if (session != nullptr) return session->answer(opcode, ptr);
    return opcode == vst::kHostVersion ? vst::kVersion24 : 0;
}

std::intptr_t HostSession::answer(std::int32_t opcode, void* ptr) {
    switch (opcode) {
    case vst::kHostAutomate:
        ++automateCalls;
        return 0;
    case vst::kHostVersion:
        return vst::kVersion24;
    case vst::kHostGetTime:
        return timeInfo();
    case vst::kHostIoChanged:
        ++ioChangedCalls;
        return 1;
    case vst::kHostGetSampleRate:
        return static_cast<std::intptr_t>(std::lround(sampleRate));
    case vst::kHostGetBlockSize:
        return blockSize;
    case vst::kHostGetProcessLevel:
        return static_cast<std::intptr_t>(processLevel);
    case vst::kHostGetAutomationState:
        return static_cast<std::intptr_t>(vst::AutomationState::Read);
    case vst::kHostGetVendorString:
        return fillText(ptr, kVendor);
    case vst::kHostGetProductString:
        return fillText(ptr, kProduct);
    case vst::kHostGetVendorVersion:
        return kHostVersionNumber;
    case vst::kHostCanDo:
        return canDo(ptr);
    case vst::kHostGetLanguage:
        return static_cast<std::intptr_t>(vst::Language::English);
    case vst::kHostUpdateDisplay:
    case vst::kHostBeginEdit:
    case vst::kHostEndEdit:
        return 1;
    case vst::kHostCurrentId:
    case vst::kHostIdle:
    case vst::kHostPinConnected:
    case vst::kHostWantMidi:
    case vst::kHostProcessEvents:
    case vst::kHostNeedIdle:
    case vst::kHostSizeWindow:
    case vst::kHostGetInputLatency:
    case vst::kHostGetOutputLatency:
    case vst::kHostGetDirectory:
        return 0;
    default:
        ++unknownCalls;
        return 0;
    }
}

std::intptr_t HostSession::timeInfo() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const double ppq = samplePosition / sampleRate * kTempo / 60.0;
    time_.samplePos = samplePosition;
    time_.sampleRate = sampleRate;
    time_.nanoSeconds = std::chrono::duration<double, std::nano>(now).count();
    time_.ppqPos = ppq;
    time_.tempo = kTempo;
    time_.barStartPos = std::floor(ppq / 4.0) * 4.0;
    time_.timeSigNumerator = 4;
    time_.timeSigDenominator = 4;
    time_.flags = vst::kTimePlaying | vst::kTimeNanoSecondsValid | vst::kTimePpqPosValid |
                  vst::kTimeTempoValid | vst::kTimeBarStartValid | vst::kTimeSignatureValid;
    if (samplePosition == 0.0) time_.flags |= vst::kTimeTransportChanged;
    return reinterpret_cast<std::intptr_t>(&time_);
}

void HostSession::attach(vst::AEffect& effect) {
    effect.hostReserved1 = reinterpret_cast<std::intptr_t>(this);
}

HostSession::Construction::Construction(HostSession& session) {
    constructing = &session;
}
HostSession::Construction::~Construction() {
    constructing = nullptr;
}

} // namespace lum::host
