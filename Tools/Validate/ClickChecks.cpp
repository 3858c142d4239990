// No change of state may click: while tones play, what a change adds outside their neighbourhood is
// held against the raised-cosine morph, as long as the change was heard to take, between what the
// two states give when they stand.

#include "Validate/Check.h"
#include "Validate/Golden.h"
#include "Validate/Signals.h"
#include "Validate/StrayEnergy.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace lum::validate {

namespace {

constexpr double kRate = 48000.0;                  // Hz
constexpr int kBlock = 64;                         // frames
constexpr int kFrames = 16384;                     // of a run, all analysed
constexpr int kPeriod = 4800;                      // frames: ten changes a second
constexpr int kChanges[] = {5760, 5760 + kPeriod}; // frames: there and back, around the middle
constexpr double kTones[] = {60.0, 220.0, 997.0, 3100.0, 8700.0, 14500.0};
constexpr double kMostAbove = 6.0;     // dB over the ideal
constexpr double kShortest = 480.0;    // frames, 10 ms: what takes less is judged by that
constexpr double kNothing = 1e-9;      // of full scale: a state is reached
constexpr double kNothingFloat = 1e-5; // the same where samples have 32 bits
constexpr double kFloor = -170.0;      // dB, a little above the window's leakage
constexpr double kFloorFloat = -125.0; // where 32-bit samples round

using State = std::function<void(Subject&)>;

struct Change {
    std::string name;
    State first;
    State second;
};

double toneAt(int channel, int frame) {
    double sum = 0.0;
    for (const double hz : kTones)
        sum += 0.15 * std::sin(2.0 * std::numbers::pi * hz * frame / kRate + hz + channel);
    return sum;
}

using Signals = Planar<double>;

/// Plays tones in all channels through a plug-in, in the widest samples that it takes.
class Player {
public:
    explicit Player(const host::PluginModule& module) : module_(module) {
        const Subject subject(module);
        isWide_ = subject.hasDouble();
        for (int c = 0; c < subject.inputs(); c++) {
            auto& channel = tones_.emplace_back();
            for (int i = 0; i < kFrames; i++) channel.push_back(toneAt(c, i));
        }
    }
    bool isWide() const { return isWide_; }

    /// What a state gives that holds from the start.
    Signals settled(const State& state) const { return play({"", state, nullptr}); }
    /// What a change there and back gives.
    Signals play(const Change& change) const {
        Subject subject(module_);
        subject.open();
        change.first(subject);
        subject.setRate(kRate, kBlock);
        subject.resume();
        return isWide_ ? playIn<double>(subject, change) : playIn<float>(subject, change);
    }

private:
    template <class Sample>
    Signals playIn(Subject& subject, const Change& change) const {
        constexpr int kBlocks[] = {kBlock};
        Signals out(static_cast<std::size_t>(subject.outputs()));
        for (int at = 0; at < kFrames; at += kBlock) {
            if (change.second && at == kChanges[0]) change.second(subject);
            if (change.second && at == kChanges[1]) change.first(subject);
            Planar<Sample> in;
            for (const auto& tone : tones_)
                in.emplace_back(tone.begin() + at, tone.begin() + at + kBlock);
            const auto part = render(subject, in, kBlocks);
            for (std::size_t c = 0; c < out.size(); c++)
                out[c].insert(out[c].end(), part[c].begin(), part[c].end());
        }
        return out;
    }

    const host::PluginModule& module_;
    Signals tones_;
    bool isWide_ = false;
};

/// From the first frame, not before `from`, where the sound is no longer the old one to the one
/// where, before `to`, it is the new one for good.
Crossover heardChange(const Signals& heard, const Signals& old, const Signals& present, int from,
                      int to, double nothing) {
    int begin = to;
    int end = from;
    for (std::size_t c = 0; c < heard.size(); c++)
        for (int i = from; i < to; i++) {
            const auto at = static_cast<std::size_t>(i);
            if (std::abs(heard[c][at] - old[c][at]) > nothing) begin = std::min(begin, i);
            if (std::abs(heard[c][at] - present[c][at]) > nothing) end = std::max(end, i + 1);
        }
    const double length = std::max<double>(end - begin, kShortest);
    const double middle = 0.5 * (begin + end);
    return {static_cast<int>(middle - 0.5 * length), length};
}

/// Judges changes, and keeps the worst figure of them.
class Judge {
public:
    Judge(const host::PluginModule& module, Findings& findings)
        : player_(module), findings_(findings) {}

    /// A plug-in that adds noise or motion of its own cannot be held against itself.
    bool isRepeatable(const State& state) const {
        return difference(player_.settled(state), player_.settled(state)) <= nothing();
    }

    /// When and for how long a change is heard; a length of 0: not at all.
    Crossover timing(const Change& change) const { return run(change).crossovers[0]; }

    void take(const Change& change) {
        const Run run = this->run(change);
        count_++;
        if (run.crossovers[0].length == 0.0) return; // two names of one state
        heard_++;
        for (std::size_t c = 0; c < run.heard.size(); c++) {
            const auto got = strayEnergyOf(run.heard[c], kRate, kTones);
            const auto ideal =
                strayEnergyOf(morphOf(run.first[c], run.second[c], run.crossovers), kRate, kTones);
            for (std::size_t d = 0; d < got.size(); d++) compare(change, got[d], ideal[d]);
        }
        longest_ = std::max({longest_, run.crossovers[0].length, run.crossovers[1].length});
    }

    Outcome outcome(const char* what) const {
        if (count_ == 0) return skip(text("the plug-in has no %s", what));
        return findings_.outcome(text("%d %s, %d heard, %+.2f dB beside the ideal of %.0f ms",
                                      count_, what, heard_, worst_, longest_ * 1000.0 / kRate));
    }

private:
    struct Run {
        Signals heard;
        Signals first, second;
        Crossover crossovers[2];
    };

    Run run(const Change& change) const {
        Run run;
        run.heard = player_.play(change);
        run.first = player_.settled(change.first);
        run.second = player_.settled(change.second);
        if (difference(run.first, run.second) <= nothing()) return run;
        const auto changeAt = [&](int frame, const Signals& old, const Signals& present) {
            return heardChange(run.heard, old, present, frame, frame + kPeriod, nothing());
        };
        run.crossovers[0] = changeAt(kChanges[0], run.first, run.second);
        run.crossovers[1] = changeAt(kChanges[1], run.second, run.first);
        return run;
    }
    double nothing() const { return player_.isWide() ? kNothing : kNothingFloat; }
    void compare(const Change& change, double got, double ideal) {
        const double floor = player_.isWide() ? kFloor : kFloorFloat;
        const double above = std::max(got, floor) - std::max(ideal, floor);
        worst_ = std::max(worst_, above);
        findings_.expect(above <= kMostAbove,
                         text("%s: %.1f dB where %.1f is ideal", change.name.c_str(), got, ideal));
    }

    const Player player_;
    Findings& findings_;
    int count_ = 0;
    int heard_ = 0;
    double worst_ = -1e9;  // dB
    double longest_ = 0.0; // frames
};

State scrambled(std::uint32_t seed) {
    return [seed](Subject& subject) { scramble(subject, seed); };
}

State one(int index, float value) {
    return [=](Subject& subject) { subject.set(index, value); };
}

/// A state and the one behind it.
State together(const State& a, const State& b) {
    return [=](Subject& subject) {
        a(subject);
        b(subject);
    };
}

State inTurn(const std::vector<int>& indices, float even, float odd) {
    return [=](Subject& subject) {
        for (std::size_t i = 0; i < indices.size(); i++)
            subject.set(indices[i], i % 2 == 0 ? even : odd);
    };
}

State program(int index) {
    return [=](Subject& subject) { subject.send(vst::kEffectSetProgram, 0, index); };
}

/// Which parameters cross over together. Fades that begin or last otherwise have no single ideal
/// when they come at once: the quick one passes through what the slow one is about to leave.
class Paces {
public:
    Paces(const host::PluginModule& module, const Judge& judge) : module_(module) {
        const Subject subject(module);
        const int bypass = subject.find("Bypass");
        for (int i = 0; i < subject.parameterCount(); i++) {
            const State ground = scrambled(1);
            const Crossover timing =
                judge.timing({"", together(ground, one(i, 0.0F)), together(ground, one(i, 1.0F))});
            if (timing.length > 0.0 && i != bypass) add(i, timing);
        }
    }
    struct Group {
        Crossover timing;
        std::vector<int> parameters;
    };
    const std::vector<Group>& groups() const { return groups_; }

    /// Whether parameters of at most one group stand otherwise in the other state.
    bool isOneChange(const State& first, const State& second) const {
        const auto before = valuesOf(first);
        const auto after = valuesOf(second);
        return std::ranges::count_if(groups_, [&](const Group& group) {
                   return std::ranges::any_of(group.parameters, [&](int i) {
                       const auto at = static_cast<std::size_t>(i);
                       return before[at] != after[at];
                   });
               }) <= 1;
    }

private:
    void add(int parameter, const Crossover& timing) {
        constexpr double kSame = 48.0; // frames, 1 ms: the last ones of a fade are too faint
        for (Group& group : groups_)
            if (std::abs(group.timing.begin - timing.begin) <= kSame &&
                std::abs(group.timing.length - timing.length) <= kSame)
                return group.parameters.push_back(parameter);
        groups_.push_back({timing, {parameter}});
    }
    std::vector<float> valuesOf(const State& state) const {
        Subject subject(module_);
        subject.open();
        state(subject);
        return subject.parameters();
    }

    const host::PluginModule& module_;
    std::vector<Group> groups_;
};

constexpr const char* kNotRepeatable = "the same input does not give the same output twice";

/// Each parameter, over its whole range; some are heard only while others stand high or low.
Outcome parameters(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Judge judge(module, findings);
    if (!judge.isRepeatable(scrambled(1))) return skip(kNotRepeatable);
    const Subject subject(module);
    const auto grounds = static_cast<std::uint32_t>(task.count(1, 20));
    for (std::uint32_t ground = 1; ground <= grounds; ground++)
        for (int i = 0; i < subject.parameterCount(); i++)
            judge.take({text("parameter %d over %u", i, ground),
                        together(scrambled(ground), one(i, 0.0F)),
                        together(scrambled(ground), one(i, 1.0F))});
    return judge.outcome("parameters");
}

Outcome manyParameters(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Judge judge(module, findings);
    if (!judge.isRepeatable(scrambled(1))) return skip(kNotRepeatable);
    const Paces paces(module, judge);
    for (const Paces::Group& group : paces.groups()) {
        const auto set = [&](float even, float odd) {
            return together(scrambled(2), inTurn(group.parameters, even, odd));
        };
        const auto name = text("%zu parameters", group.parameters.size());
        judge.take({name + " from end to end", set(0.0F, 0.0F), set(1.0F, 1.0F)});
        judge.take({name + " against each other", set(0.0F, 1.0F), set(1.0F, 0.0F)});
    }
    return judge.outcome("changes of all that fade together");
}

Outcome programs(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Judge judge(module, findings);
    const int count = Subject(module).effect().numPrograms;
    if (count > 0 && !judge.isRepeatable(program(0))) return skip(kNotRepeatable);
    const Paces paces(module, judge);
    for (int i = 0; i < count; i++)
        for (int k = i + 1; k < (task.isLong ? count : std::min(i + 2, count)); k++)
            if (paces.isOneChange(program(i), program(k)))
                judge.take({text("program %d to %d", i, k), program(i), program(k)});
    return judge.outcome("program changes");
}

State loading(bool isProgram, const Bytes& bytes) {
    return [=](Subject& subject) { subject.load(isProgram, bytes); };
}

Outcome chunks(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Judge judge(module, findings);
    Subject subject(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    if (!judge.isRepeatable(scrambled(1))) return skip(kNotRepeatable);
    const Paces paces(module, judge);
    const auto made = [&](const Paces::Group& group, float value, bool isProgram) {
        together(scrambled(40), inTurn(group.parameters, value, value))(subject);
        return loading(isProgram, subject.chunk(isProgram));
    };
    for (const bool isProgram : {true, false})
        for (const Paces::Group& group : paces.groups())
            judge.take({isProgram ? "program to program" : "bank to bank",
                        made(group, 0.0F, isProgram), made(group, 1.0F, isProgram)});
    const auto golden = goldenPrograms(task.goldenFolder);
    for (std::size_t i = 0; i < golden.size(); i++)
        for (std::size_t k = i + 1; k < (task.isLong ? golden.size() : i + 2) && k < golden.size();
             k++) {
            const State first = loading(true, golden[i].bytes);
            const State second = loading(true, golden[k].bytes);
            if (paces.isOneChange(first, second))
                judge.take({golden[i].name + " to " + golden[k].name, first, second});
        }
    return judge.outcome("restored states");
}

} // namespace

std::span<const Check> clickChecks() {
    static constexpr Check kChecks[] = {
        {"Clicks", "aJumpOfAParameterIsAMorph", &parameters, 60},
        {"Clicks", "aJumpOfManyIsAMorph", &manyParameters, 30},
        {"Clicks", "aChangeOfProgramIsAMorph", &programs, 30},
        {"Clicks", "aRestoredStateIsAMorph", &chunks, 30},
    };
    return kChecks;
}

} // namespace lum::validate
