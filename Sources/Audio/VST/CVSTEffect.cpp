#include "Audio/VST/CVSTEffect.h"

#include <algorithm>
#include <cstring>

namespace lum {

namespace {

using namespace vst;

// Most characters of each kind of text that a host has room for, without the closing zero.
constexpr size_t kParameterText = 7;
constexpr size_t kProgramName = 23;
constexpr size_t kEffectName = 31;
constexpr size_t kVendorText = 63;
constexpr int32_t kOpcodeCount = 80;
constexpr float kHighestRate = 1'536'000.0F; // Hz, twice what any converter runs at

} // namespace

struct CVSTEffect::CHostCall {
    int32_t index;
    intptr_t value;
    void* ptr;
    float opt;
};

/// A row answers one number of the host; numbers without a row answer 0.
struct CVSTEffect::COpcodeRow {
    int32_t opcode;
    intptr_t (*answer)(CVSTEffect& self, const CHostCall& call);
};

const CVSTEffect::COpcodeRow CVSTEffect::kOpcodes[] = {
    {kEffectSetProgram,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         self.setProgram(static_cast<int32_t>(call.value));
         return 0;
     }},
    {kEffectGetProgram,
     [](CVSTEffect& self, const CHostCall&) -> intptr_t { return self.getProgram(); }},
    {kEffectSetProgramName,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         const auto* text = static_cast<const char*>(call.ptr);
         // Kept whole; it is cut where it is shown.
         if (text) self.setProgramName(CString::fromUtf8({text, std::strlen(text)}));
         return 0;
     }},
    {kEffectGetProgramName,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         CString name;
         self.getProgramName(self.getProgram(), name);
         copyHostText(call.ptr, name, kProgramName);
         return 0;
     }},
    {kEffectGetParameterLabel,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getParameterLabel(call.index), kParameterText);
         return 0;
     }},
    {kEffectGetParameterDisplay,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getParameterDisplay(call.index), kParameterText);
         return 0;
     }},
    {kEffectGetParameterName,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getParameterName(call.index), kParameterText);
         return 0;
     }},
    {kEffectSetSampleRate,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         if (call.opt > 0.0F && call.opt <= kHighestRate) self.storedSampleRate = static_cast<double>(call.opt);
         return 0;
     }},
    {kEffectSetBlockSize,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         self.storedBlockSize = static_cast<int32_t>(call.value);
         return 0;
     }},
    {kEffectMainsChanged,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         if (call.value)
             self.resume();
         else
             self.suspend();
         return 0;
     }},
    {kEffectEditIdle,
     [](CVSTEffect& self, const CHostCall&) -> intptr_t {
         self.idle();
         return 0;
     }},
    {kEffectIdentify, [](CVSTEffect&, const CHostCall&) -> intptr_t { return kIdentifyAnswer; }},
    {kEffectGetChunk,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         size_t size = 0;
         const void* data = call.ptr ? self.getChunk(call.index != 0, size) : nullptr;
         if (call.ptr) *static_cast<const void**>(call.ptr) = data;
         return data ? static_cast<intptr_t>(size) : 0;
     }},
    {kEffectSetChunk,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         if (!call.ptr || call.value < 0) return 0;
         return self.setChunk(call.ptr, static_cast<size_t>(call.value), call.index != 0) ? 1 : 0;
     }},
    {kEffectProcessEvents,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         if (call.ptr) self.processEvents(*static_cast<const Events*>(call.ptr));
         return 1;
     }},
    // Hosts pass the index in one place or another, and every parameter can be automated.
    {kEffectCanBeAutomated, [](CVSTEffect&, const CHostCall&) -> intptr_t { return 1; }},
    {kEffectProgramNameIndexed,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         CString name;
         if (!self.getProgramName(call.index, name)) return 0;
         copyHostText(call.ptr, name, kProgramName);
         return 1;
     }},
    {kEffectGetCategory,
     [](CVSTEffect& self, const CHostCall&) -> intptr_t {
         return static_cast<intptr_t>(self.getPlugCategory());
     }},
    {kEffectSetSpeakerArrangement,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         const auto* inputs = reinterpret_cast<const SpeakerArrangement*>(call.value);
         const auto* outputs = static_cast<const SpeakerArrangement*>(call.ptr);
         return inputs && outputs && self.setSpeakerArrangement(*inputs, *outputs) ? 1 : 0;
     }},
    {kEffectGetEffectName,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getEffectName(), kEffectName);
         return 1;
     }},
    {kEffectGetVendorString,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getVendorString(), kVendorText);
         return 1;
     }},
    {kEffectGetProductString,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         copyHostText(call.ptr, self.getProductString(), kVendorText);
         return 1;
     }},
    {kEffectGetVendorVersion,
     [](CVSTEffect& self, const CHostCall&) -> intptr_t { return self.getVendorVersion(); }},
    {kEffectVendorSpecific,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         return self.vendorSpecific(call.index, call.value, call.ptr, call.opt);
     }},
    {kEffectCanDo,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         return call.ptr ? self.canDo(static_cast<const char*>(call.ptr)) : 0;
     }},
    {kEffectIdle,
     [](CVSTEffect& self, const CHostCall&) -> intptr_t {
         self.idle();
         return 0;
     }},
    {kEffectKeysRequired, [](CVSTEffect&, const CHostCall&) -> intptr_t { return 1; }}, // wants none
    {kEffectGetVstVersion, [](CVSTEffect&, const CHostCall&) -> intptr_t { return kVersion24; }},
    {kEffectGetCurrentMidiProgram, [](CVSTEffect&, const CHostCall&) -> intptr_t { return -1; }},
    {kEffectGetSpeakerArrangement,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         const SpeakerArrangement* inputs = self.getInputArrangement();
         const SpeakerArrangement* outputs = self.getOutputArrangement();
         if (call.value) *reinterpret_cast<const SpeakerArrangement**>(call.value) = inputs;
         if (call.ptr) *static_cast<const SpeakerArrangement**>(call.ptr) = outputs;
         return inputs && outputs ? 1 : 0;
     }},
    {kEffectSetTotalSamples,
     [](CVSTEffect&, const CHostCall& call) -> intptr_t { return call.value; }},
    {kEffectSetProcessPrecision,
     [](CVSTEffect& self, const CHostCall& call) -> intptr_t {
         return self.setProcessPrecision(static_cast<int32_t>(call.value)) ? 1 : 0;
     }},
};

namespace {

CVSTEffect& selfOf(AEffect* target) {
    return *static_cast<CVSTEffect*>(target->object);
}

} // namespace

CVSTEffect::CVSTEffect(HostCallback hostCallback) : host(hostCallback) {
    effect.magic = kMagic;
    effect.dispatcher = &onDispatch;
    effect.process = &onProcess;
    effect.setParameter = &onSetParameter;
    effect.getParameter = &onGetParameter;
    effect.numPrograms = 1;
    effect.numParams = 1;
    effect.ioRatio = 1.0F;
    effect.object = this;
    effect.version = 1;
    effect.processReplacing = &onProcessReplacing;
    effect.processDoubleReplacing = &onProcessDouble;
}

intptr_t CVSTEffect::onDispatch(AEffect* target, int32_t opcode, int32_t index, intptr_t value,
                                void* ptr, float opt) {
    CVSTEffect& self = selfOf(target);
    if (opcode == kEffectClose) {
        delete &self;
        return 0;
    }
    if (opcode < 0 || opcode >= kOpcodeCount) return 0;
    for (const COpcodeRow& row : kOpcodes)
        if (row.opcode == opcode) return row.answer(self, {index, value, ptr, opt});
    return 0;
}

/// The accumulating form is obsolete; it adds nothing.
void CVSTEffect::onProcess(AEffect*, float**, float**, int32_t) {}

void CVSTEffect::onProcessReplacing(AEffect* target, float** inputs, float** outputs,
                                    int32_t frames) {
    selfOf(target).processReplacing(inputs, outputs, frames);
}

void CVSTEffect::onProcessDouble(AEffect* target, double** inputs, double** outputs,
                                 int32_t frames) {
    selfOf(target).processDoubleReplacing(inputs, outputs, frames);
}

void CVSTEffect::onSetParameter(AEffect* target, int32_t index, float value) {
    selfOf(target).setParameter(index, value);
}

float CVSTEffect::onGetParameter(AEffect* target, int32_t index) {
    return selfOf(target).getParameter(index);
}

int32_t CVSTEffect::askVersion(HostCallback host, AEffect* effect) {
    const auto version = static_cast<int32_t>(host(effect, kHostVersion, 0, 0, nullptr, 0.0F));
    return version ? version : 1;
}

intptr_t CVSTEffect::callHost(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    return host ? host(&effect, opcode, index, value, ptr, opt) : 0;
}

CString CVSTEffect::askHostText(HostOpcode opcode, size_t longest) {
    char text[256] = {}; // some hosts write more than they should
    callHost(opcode, 0, 0, text);
    return CString::fromUtf8({text, strnlen(text, longest)});
}

void copyHostText(void* target, const CString& text, size_t longest) {
    if (!target) return;
    const std::string bytes = text.toUtf8();
    size_t count = std::min(bytes.size(), longest);
    const auto isContinuation = [&](size_t at) {
        return (static_cast<unsigned char>(bytes[at]) & 0xC0U) == 0x80U;
    };
    while (count > 0 && count < bytes.size() && isContinuation(count)) count--;
    std::memcpy(target, bytes.data(), count);
    static_cast<char*>(target)[count] = 0;
}

} // namespace lum
