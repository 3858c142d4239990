// The binary contract: the orders in which hosts call, every number, texts and parameters.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace lum::validate {

namespace {

using namespace vst;

constexpr int kLastOpcode = kEffectGetMidiOutputChannels;
constexpr std::size_t kRoom = 65536; // bytes behind the pointer of a blind call

bool isFinite(const Planar<float>& signal) {
    return std::ranges::all_of(signal, [](const auto& channel) {
        return std::ranges::all_of(channel, [](float sample) { return std::isfinite(sample); });
    });
}

/// What an orderly instance does with the same noise; two of them must agree.
Planar<float> reference(Subject& subject, double rate) {
    subject.setRate(rate);
    subject.suspend();
    subject.resume();
    render(subject, silence<float>(subject.inputs(), 9600)); // until the past is over
    const auto input = noise<float>(subject.inputs(), 6000);
    return render(subject, input);
}

// Hosts, as they were seen to begin.

enum class Step {
    Open,
    Category,
    Identify,
    Describe, // names, abilities, parameters, with the obsolete questions some hosts still ask
    RateA,    // 48 kHz, 512 frames
    RateB,    // 44.1 kHz, 1,024 frames
    Arrange,
    ArrangeBack, // what the plug-in shows of it
    LoadBank,
    LoadProgram,
    Resume,
    Suspend,
    Start,
    Stop,
    Process,
};

struct HostRow {
    const char* name;
    std::int32_t version;
    std::int32_t rate; // what the host answers while the plug-in opens, 0: nothing
    std::vector<Step> steps;
};

std::vector<HostRow> hostRows() {
    using enum Step;
    return {
        {"category before open, rate late",
         2,
         0,
         {Category, Open, Describe, RateB, Resume, Process, Suspend}},
        {"suspend and resume in a jump",
         2400,
         48000,
         {Open, Describe, RateA, Resume, Process, LoadBank, Process, Suspend, Resume, Resume,
          Process, Suspend}},
        {"rate before open and another after",
         2400,
         44100,
         {RateA, Identify, Open, Describe, RateB, LoadProgram, Resume, Start, Process, Stop,
          Suspend}},
        {"an old version that only scans", 2300, 44100, {Category, Open, Describe}},
        {"arrangement, then state while running",
         2400,
         48000,
         {Open, RateA, Arrange, ArrangeBack, Resume, Start, LoadProgram, Process, LoadBank, Process,
          Stop, Suspend, RateB, Resume, Process}},
        {"never suspended", 2400, 48000, {Open, RateA, Resume, Process, Resume, Process}},
        {"processed without a word", 2400, 48000, {Process}},
    };
}

void describe(Subject& subject) {
    for (const int opcode : {kEffectGetVstVersion, kEffectGetVendorVersion, kEffectGetCategory,
                             kEffectGetTailSize, kEffectKeysRequired})
        subject.send(opcode);
    for (const int opcode : {kEffectGetEffectName, kEffectGetVendorString, kEffectGetProductString})
        subject.text(opcode);
    for (const char* ability : {"bypass", "offline", "receiveVstMidiEvent", "plugAsSend", "-"})
        subject.send(kEffectCanDo, 0, 0, const_cast<char*>(ability));
    for (int i = 0; i < subject.parameterCount(); i++) {
        alignas(8) char properties[sizeof(ParameterProperties)] = {};
        subject.send(kEffectGetParameterProperties, i, 0, properties);
        subject.send(kEffectCanBeAutomated, 0, i);
        for (const int opcode :
             {kEffectGetParameterName, kEffectGetParameterLabel, kEffectGetParameterDisplay})
            subject.text(opcode, i);
    }
}

void arrange(Subject& subject) {
    SpeakerArrangement in{};
    in.type = static_cast<std::int32_t>(ArrangementType::Stereo);
    in.numChannels = 2;
    SpeakerArrangement out = in;
    subject.send(kEffectSetSpeakerArrangement, 0, reinterpret_cast<std::intptr_t>(&in), &out);
}

void arrangeBack(Subject& subject) {
    SpeakerArrangement* in = nullptr;
    SpeakerArrangement* out = nullptr;
    const auto shown = reinterpret_cast<std::intptr_t>(&in);
    if (subject.send(kEffectGetSpeakerArrangement, 0, shown, &out) == 1 && in && out)
        subject.send(kEffectSetSpeakerArrangement, 0, reinterpret_cast<std::intptr_t>(in), out);
}

void take(Subject& subject, Step step) {
    switch (step) {
    case Step::Open:
        return subject.open();
    case Step::Category:
        subject.send(kEffectGetCategory);
        return;
    case Step::Identify:
        subject.send(kEffectIdentify);
        return;
    case Step::Describe:
        return describe(subject);
    case Step::RateA:
        return subject.setRate(48000, 512);
    case Step::RateB:
        return subject.setRate(44100, 1024);
    case Step::Arrange:
        return arrange(subject);
    case Step::ArrangeBack:
        return arrangeBack(subject);
    case Step::LoadBank:
        subject.load(false, subject.chunk(false));
        return;
    case Step::LoadProgram:
        subject.send(kEffectBeginSetProgram);
        subject.load(true, subject.chunk(true));
        subject.send(kEffectEndSetProgram);
        return;
    case Step::Resume:
        return subject.resume();
    case Step::Suspend:
        return subject.suspend();
    case Step::Start:
        subject.send(kEffectStartProcess);
        return;
    case Step::Stop:
        subject.send(kEffectStopProcess);
        return;
    case Step::Process:
        render(subject, noise<float>(subject.inputs(), 1500));
        return;
    }
}

Outcome hostOrders(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    const auto rows = hostRows();
    for (const HostRow& row : rows) {
        HostModel host;
        host.version = row.version;
        host.rate = row.rate;
        Subject subject(module, host);
        for (const Step step : row.steps) take(subject, step);
        Subject twin(module, host);
        twin.open();
        if (std::ranges::count(row.steps, Step::Arrange) != 0) arrange(twin);
        const double apart = difference(reference(subject, 44100), reference(twin, 44100));
        findings.expect(apart <= 1e-5, text("%s: %.2g apart", row.name, apart));
    }
    return findings.outcome(text("%zu hosts", rows.size()));
}

/// The memory that a call may write to, filled so that a plug-in finds plausible content.
class Blind {
public:
    explicit Blind(std::uint32_t seed) : random_(seed) {}

    void call(Subject& subject, int opcode) {
        std::memset(room_, 0, sizeof room_);
        const int index = random_.below(subject.parameterCount() + 4) - 2;
        const auto opt = static_cast<float>(random_.unit());
        void* ptr = room_;
        std::intptr_t value = random_.below(5) - 1;
        if (opcode == kEffectSetSpeakerArrangement) value = reinterpret_cast<std::intptr_t>(room_);
        if (opcode == kEffectGetSpeakerArrangement)
            value = reinterpret_cast<std::intptr_t>(room_ + 64);
        if (opcode == kEffectSetSampleRate)
            return (void)subject.send(opcode, index, 0, ptr, 48000.0F);
        if (opcode == kEffectSetBlockSize) value = 512;
        if (opcode == kEffectCanDo || opcode == kEffectSetProgramName ||
            opcode == kEffectStringToParameter)
            std::strcpy(room_, "0.5");
        if (opcode == kEffectMainsChanged) value &= 1;
        subject.send(opcode, index, value, ptr, opt);
    }
    Random& random() { return random_; }

private:
    Random random_;
    alignas(16) char room_[kRoom] = {};
};

/// Close ends the instance, the editor needs a window, and a chunk of five zero bytes is asked for
/// by a check of its own.
bool isBlindlyCallable(int opcode) {
    return opcode != kEffectClose && opcode != kEffectEditOpen;
}

Outcome anyOrderOfOpcodes(const Task& task) {
    const host::PluginModule module(task.plugin);
    const int calls = task.count(50000, 5000000);
    Subject subject(module);
    auto blind = std::make_unique<Blind>(7);
    const auto input = noise<float>(subject.inputs(), 64);
    Findings findings;
    for (int i = 0; i < calls; i++) {
        const int opcode = blind->random().below(kLastOpcode + 1);
        if (isBlindlyCallable(opcode)) blind->call(subject, opcode);
        if (i % 16 == 0)
            findings.expect(isFinite(render(subject, input)), text("not finite at call %d", i));
    }
    // It is in order again when it is asked to be.
    arrange(subject);
    subject.send(kEffectSetProgram, 0, 0);
    for (int i = 0; i < subject.parameterCount(); i++) subject.set(i, 0.5F);
    if (const int bypass = subject.find("Bypass"); bypass >= 0) subject.set(bypass, 0.0F);
    const auto output = reference(subject, 48000);
    findings.expect(isFinite(output), "not finite at the end");
    const bool isHeard = std::ranges::any_of(output[0], [](float s) { return s != 0.0F; });
    findings.expect(isHeard, "silent at the end");
    return findings.outcome(text("%d calls", calls));
}

Outcome nullPointers(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    for (const bool isRunning : {false, true}) {
        if (isRunning) subject.start(44100);
        for (int opcode = 0; opcode <= kLastOpcode; opcode++)
            if (isBlindlyCallable(opcode))
                subject.send(opcode, 0, 0, nullptr, opcode == kEffectSetSampleRate ? 44100.0F : 0);
    }
    return {Verdict::Pass, text("%d numbers, suspended and running", kLastOpcode - 1)};
}

Outcome unknownOpcodes(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    int count = 0;
    const auto ask = [&](int opcode) {
        char room[256] = {};
        const auto answer = subject.send(opcode, 0, 0, room);
        findings.expect(answer == 0,
                        text("%d answers %lld", opcode, static_cast<long long>(answer)));
        count++;
    };
    for (const bool isRunning : {false, true}) {
        if (isRunning) subject.start(44100);
        for (int opcode = -1000; opcode < 0; opcode++) ask(opcode);
        for (int opcode = kLastOpcode + 1; opcode < 4000; opcode++) ask(opcode);
        for (const int opcode : {INT32_MIN, INT32_MAX, 0x10000, -559038737}) ask(opcode);
    }
    return findings.outcome(text("%d asked", count));
}

Outcome texts(const Task& task) {
    struct Row {
        int opcode;
        std::size_t room; // bytes with the closing zero
        const char* what;
    };
    constexpr Row kRows[] = {
        {kEffectGetProgramName, kProgramNameSize, "program name"},
        {kEffectGetParameterLabel, kParameterTextSize, "parameter unit"},
        {kEffectGetParameterDisplay, kParameterTextSize, "parameter value"},
        {kEffectGetParameterName, kParameterTextSize, "parameter name"},
        {kEffectProgramNameIndexed, kProgramNameSize, "indexed program name"},
        {kEffectGetEffectName, kEffectNameSize, "effect name"},
        {kEffectGetVendorString, kVendorTextSize, "vendor"},
        {kEffectGetProductString, kProductTextSize, "product"},
    };
    constexpr char kCanary = 0x5A;
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    subject.open();
    char longName[200];
    std::memset(longName, 'W', sizeof longName);
    longName[sizeof longName - 1] = 0;
    subject.send(kEffectSetProgramName, 0, 0, longName);
    std::size_t longest = 0;
    for (const float value : {-1.0F, 0.0F, 0.123456F, 1.0F})
        for (const Row& row : kRows)
            for (int i = 0; i < std::max(subject.parameterCount(), 1); i++) {
                if (i < subject.parameterCount() && value >= 0.0F) subject.set(i, value);
                char buffer[512];
                std::memset(buffer, kCanary, sizeof buffer);
                subject.send(row.opcode, i, 0, buffer);
                const auto end = std::find_if(std::rbegin(buffer), std::rend(buffer),
                                              [](char c) { return c != kCanary; });
                const auto used = static_cast<std::size_t>(std::rend(buffer) - end);
                findings.expect(used <= row.room, text("%s fills %zu bytes", row.what, used));
                findings.expect(used == 0 || std::memchr(buffer, 0, used) != nullptr,
                                text("%s has no end", row.what));
                if (row.opcode == kEffectGetParameterDisplay) longest = std::max(longest, used);
            }
    return findings.outcome(text("longest value %zu bytes with its end", longest));
}

Outcome parameterRange(const Task& task) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kValues[] = {-1.0F,      2.0F,   kInfinity,
                                 -kInfinity, 1e-40F, std::numeric_limits<float>::quiet_NaN(),
                                 3e38F,      -0.0F};
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    subject.start(44100);
    const auto before = subject.parameters();
    for (const int index : {-1, -1000, INT32_MIN, subject.parameterCount(), INT32_MAX}) {
        subject.set(index, 0.7F);
        findings.expect(std::isfinite(subject.get(index)), text("index %d", index));
    }
    findings.expect(subject.parameters() == before, "a wrong index changes a parameter");
    const auto input = noise<float>(subject.inputs(), 4096);
    for (const float value : kValues) {
        for (int i = 0; i < subject.parameterCount(); i++) {
            subject.set(i, value);
            const float now = subject.get(i);
            findings.expect(now >= 0.0F && now <= 1.0F,
                            text("parameter %d set to %g reads %g", i, static_cast<double>(value),
                                 static_cast<double>(now)));
        }
        findings.expect(isFinite(render(subject, input)),
                        text("not finite with all at %g", static_cast<double>(value)));
    }
    return findings.outcome(
        text("%zu values of %d parameters", std::size(kValues), subject.parameterCount()));
}

} // namespace

std::span<const Check> contractChecks() {
    static constexpr Check kChecks[] = {
        {"Contract", "theOrdersOfRealHostsLeadToTheSameSound", &hostOrders, 30},
        {"Contract", "allNumbersInAnyOrder", &anyOrderOfOpcodes, 60},
        {"Contract", "nullPointersAreSurvived", &nullPointers, 10},
        {"Contract", "unknownNumbersAnswerZero", &unknownOpcodes, 10},
        {"Contract", "textsStayInTheirRoom", &texts, 10},
        {"Contract", "parametersOutOfRange", &parameterRange, 20},
    };
    return kChecks;
}

} // namespace lum::validate
