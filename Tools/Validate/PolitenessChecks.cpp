// What a plug-in may not touch, start, write or need.

#include "Validate/Check.h"
#include "Validate/ProcessState.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <functional>
#include <optional>

namespace lum::validate {

namespace {

using namespace vst;

/// What scanners and hosts do, in order; each call is looked at by itself.
class CallList {
public:
    explicit CallList(const std::filesystem::path& plugin) : plugin_(plugin) {}

    /// Runs each call between two looks at the process.
    void run(std::uint32_t mode, Findings& findings) {
        for (const auto& [name, body] : calls()) {
            setFloatingPointMode(mode);
            const ProcessState before = ProcessState::now();
            body();
            const std::string changed = ProcessState::now().difference(before);
            findings.expect(changed.empty(), text("%s changes the %s", name, changed.c_str()));
            count_++;
        }
        setFloatingPointMode(kPlainMode);
    }
    int count() const { return count_; }

    static constexpr std::uint32_t kPlainMode = 0x1F80;

private:
    struct Call {
        const char* name;
        std::function<void()> body;
    };

    template <class Sample>
    void play() {
        render(*subject_, noise<Sample>(subject_->inputs(), 2000));
    }

    std::vector<Call> calls() {
        return {
            {"loading", [this] { module_.emplace(plugin_); }},
            {"the entry", [this] { subject_.emplace(*module_); }},
            {"open", [this] { subject_->open(); }},
            {"asking for names", [this] { askNames(); }},
            {"setting rate and block", [this] { subject_->setRate(96000); }},
            {"resume", [this] { subject_->resume(); }},
            {"processing", [this] { play<float>(); }},
            {"setting parameters", [this] { scramble(*subject_, 3); }},
            {"processing a change", [this] { play<float>(); }},
            {"processing 64-bit samples",
             [this] {
                 if (subject_->hasDouble()) play<double>();
             }},
            {"saving", [this] { chunk_ = subject_->chunk(false); }},
            {"restoring", [this] { subject_->load(false, chunk_); }},
            {"restoring nonsense", [this] { subject_->load(true, Bytes(500, 'x')); }},
            {"a program change", [this] { subject_->send(kEffectSetProgram, 0, 1); }},
            {"asking for the editor's size",
             [this] {
                 Rect* rect = nullptr;
                 subject_->send(kEffectEditGetRect, 0, 0, &rect);
             }},
            {"opening an editor nowhere", [this] { subject_->send(kEffectEditOpen); }},
            {"idle", [this] { subject_->send(kEffectEditIdle); }},
            {"closing the editor", [this] { subject_->send(kEffectEditClose); }},
            {"suspend", [this] { subject_->suspend(); }},
            {"close", [this] { subject_.reset(); }},
            {"unloading", [this] { module_.reset(); }},
        };
    }

    void askNames() {
        for (const int opcode :
             {kEffectGetEffectName, kEffectGetVendorString, kEffectGetProductString})
            subject_->text(opcode);
        for (int i = 0; i < subject_->parameterCount(); i++)
            for (const int opcode :
                 {kEffectGetParameterName, kEffectGetParameterLabel, kEffectGetParameterDisplay})
                subject_->text(opcode, i);
    }

    std::filesystem::path plugin_;
    std::optional<host::PluginModule> module_;
    std::optional<Subject> subject_;
    Bytes chunk_;
    int count_ = 0;
};

Outcome callsLeaveTheProcessAlone(const Task& task) {
    // As it is, with denormals flushed, and rounding down: hosts of all kinds exist.
    constexpr std::uint32_t kModes[] = {CallList::kPlainMode, 0x9FC0, 0x3F80};
    Findings findings;
    CallList list(task.plugin);
    for (const std::uint32_t mode : kModes) list.run(mode, findings);
    return findings.outcome(
        text("%d calls: modes, locale, signals, umask, folder, environment", list.count()));
}

/// Everything that a user or a project sees as text or bytes.
std::string everyText(const host::PluginModule& module) {
    Subject subject(module);
    subject.start(44100);
    scramble(subject, 6);
    std::string all;
    for (int i = 0; i < subject.parameterCount(); i++) {
        all += subject.text(kEffectGetParameterDisplay, i) + " ";
        char parsed[64] = "-3.5";
        subject.send(kEffectStringToParameter, i, 0, parsed);
        char number[64] = "1.5";
        subject.send(kEffectVendorSpecific, 27, i, number);
        all += std::string(parsed) + " " + number + "\n";
    }
    for (int i = 0; i < subject.effect().numPrograms; i++) {
        subject.send(kEffectSetProgram, 0, i);
        for (const bool isProgram : {true, false}) {
            const Bytes bytes = subject.chunk(isProgram);
            all.append(bytes.begin(), bytes.end());
        }
    }
    return all;
}

Outcome decimalComma(const Task& task) {
    const std::string folder = (task.scratch / "locale").string();
    const std::string make = "mkdir -p '" + folder +
                             "' && localedef --no-archive -i de_DE -f UTF-8 '" + folder +
                             "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0)
        return skip("localedef cannot make de_DE here (package locales)");
    std::string plain;
    {
        const host::PluginModule module(task.plugin);
        plain = everyText(module);
    }
    setenv("LOCPATH", folder.c_str(), 1);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr)
        return skip("the locale made is not taken");
    if (std::localeconv()->decimal_point[0] != ',') return skip("the locale has no decimal comma");
    const host::PluginModule module(task.plugin); // its data is read under the comma as well
    Findings findings;
    const std::string comma = everyText(module);
    const auto at =
        static_cast<std::size_t>(std::ranges::mismatch(plain, comma).in1 - plain.begin());
    findings.expect(comma == plain, text("byte %zu of all texts and chunks differs", at));
    return findings.outcome(text("%zu bytes of texts and chunks are the same", plain.size()));
}

Outcome threads(const Task& task) {
    Findings findings;
    const int before = countThreads();
    int running = 0;
    {
        const host::PluginModule module(task.plugin);
        const auto none = [&](const char* when) {
            findings.expect(countThreads() == before,
                            text("%d threads after %s", countThreads() - before, when));
        };
        none("loading");
        Subject subject(module);
        none("the entry");
        subject.open();
        none("open");
        scramble(subject, 1);
        subject.load(false, subject.chunk(false));
        none("restoring a state");
        for (const double rate : {44100.0, 192000.0}) {
            subject.start(rate);
            scramble(subject, 2);
            render(subject, noise<float>(subject.inputs(), 20000));
            running = std::max(running, countThreads() - before);
            subject.suspend();
        }
    }
    findings.expect(countThreads() == before, text("%d threads are left", countThreads() - before));
    return findings.outcome(
        text("none before the first resume, at most %d after, none left", running));
}

Outcome scanningLeavesNothing(const Task& task) {
    Findings findings;
    const auto here = task.plugin.parent_path().string();
    const auto beside = filesBelow(here).size();
    const int descriptors = countDescriptors();
    for (const char* display : {"", ":987"}) {
        if (*display) setenv("DISPLAY", display, 1);
        const host::PluginModule module(task.plugin);
        Subject subject(module);
        subject.open();
        (void)everyText(module);
        subject.send(kEffectEditOpen);
    }
    for (const auto& file : filesBelow(task.scratch.string()))
        findings.expect(false, "makes " + file.substr(task.scratch.string().size() + 1));
    findings.expect(filesBelow(here).size() == beside, "a file is new beside the plug-in");
    findings.expect(countDescriptors() == descriptors, "a descriptor stays open");
    return findings.outcome("no file, no descriptor, no display");
}

Outcome scanTime(const Task& task) {
    using Clock = std::chrono::steady_clock;
    constexpr double kMostMs = 15.0;
    std::vector<double> times;
    const int scans = task.count(30, 1000);
    for (int i = 0; i < scans; i++) {
        const auto begin = Clock::now();
        {
            const host::PluginModule module(task.plugin);
            Subject subject(module);
            subject.open();
            for (const int opcode :
                 {kEffectGetEffectName, kEffectGetVendorString, kEffectGetProductString})
                subject.text(opcode);
            for (int k = 0; k < subject.parameterCount(); k++)
                subject.text(kEffectGetParameterName, k);
            for (int k = 0; k < subject.effect().numPrograms; k++)
                subject.text(kEffectProgramNameIndexed, k, -1);
        }
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    const double first = times[0];
    std::ranges::sort(times);
    Findings findings;
    const double median = times[times.size() / 2];
    const double calm = times[times.size() / 4]; // on a machine that does other things as well
    findings.expect(calm <= kMostMs,
                    text("%.1f ms in the best quarter, %.1f the middle", calm, median));
    return findings.outcome(
        text("%.2f ms in the best quarter, %.2f the middle, %.1f the first", calm, median, first));
}

} // namespace

std::span<const Check> politenessChecks() {
    static constexpr Check kChecks[] = {
        {"Politeness", "callsLeaveTheProcessAsItIs", &callsLeaveTheProcessAlone, 20},
        {"Politeness", "aDecimalCommaChangesNothing", &decimalComma, 40},
        {"Politeness", "threadsExistOnlyForBlocks", &threads, 20},
        {"Politeness", "scanningLeavesAndNeedsNothing", &scanningLeavesNothing, 20},
        {"Politeness", "scanningIsQuick", &scanTime, 20},
    };
    return kChecks;
}

} // namespace lum::validate
