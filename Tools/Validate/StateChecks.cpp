// Chunks: they come back whole, whatever happened in between, and a damaged one harms nobody.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace lum::validate {

namespace {

/// The same filter, begun at another frame, may round another way: -100 dB of full scale.
constexpr double kSameSound = 1e-5;

/// A state as a host makes one: a program, parameters, a name.
void makeState(Subject& subject, std::uint32_t seed) {
    const int programs = std::max(subject.effect().numPrograms, 1);
    subject.send(vst::kEffectSetProgram, 0, static_cast<std::int32_t>(seed) % programs);
    scramble(subject, seed);
}

Outcome randomSets(const Task& task) {
    constexpr std::uint32_t kSets = 1000;
    constexpr std::uint32_t kFreshEvery = 50; // a new instance to restore into
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    subject.open();
    Findings findings;
    std::unique_ptr<Subject> other;
    std::size_t longest = 0;
    const std::uint32_t freshEvery = task.isLong ? 1 : kFreshEvery;
    for (std::uint32_t seed = 0; seed < kSets; seed++) {
        if (seed % freshEvery == 0) other = std::make_unique<Subject>(module);
        makeState(subject, seed);
        for (const bool isProgram : {true, false}) {
            if (!isProgram && seed % 10 != 0) continue; // a bank holds the same and more
            const Bytes saved = subject.chunk(isProgram);
            longest = std::max(longest, saved.size());
            const std::string which = text("%s %u", isProgram ? "program" : "bank", seed);
            findings.expect(isProgram ? other->load(true, saved)
                                      : other->restore(saved, subject.program()),
                            which + " is refused");
            findings.expect(other->parameters() == subject.parameters(), which + ": other values");
            findings.expect(other->chunk(isProgram) == saved, which + ": other bytes");
        }
    }
    return findings.outcome(text("1,000 sets, at most %zu bytes", longest));
}

Outcome acrossRates(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    Subject other(module);
    int steps = 0;
    for (const double rate : {22050.0, 192000.0, 44100.0, 96000.0, 48000.0}) {
        makeState(subject, static_cast<std::uint32_t>(rate));
        const Bytes program = subject.chunk(true);
        const Bytes bank = subject.chunk(false);
        subject.suspend();
        subject.start(rate);
        render(subject, noise<float>(subject.inputs(), 3000));
        findings.expect(subject.chunk(true) == program, text("program at %g Hz", rate));
        findings.expect(subject.chunk(false) == bank, text("bank at %g Hz", rate));
        other.start(rate / 2.0 + 22050.0);
        findings.expect(other.restore(bank, subject.program()), "refused while running");
        render(other, noise<float>(other.inputs(), 3000));
        findings.expect(other.chunk(false) == bank, text("bank from %g Hz elsewhere", rate));
        steps++;
    }
    return findings.outcome(text("%d rates, byte for byte", steps));
}

/// A host asks for chunks at any time; asking must not move anything.
Outcome askingChangesNothing(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    Subject twin(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    for (Subject* each : {&subject, &twin}) {
        each->start(48000);
        makeState(*each, 21);
    }
    const auto input = noise<float>(subject.inputs(), 480);
    for (int i = 0; i < 50; i++) {
        (void)subject.chunk(i % 2 == 0);
        findings.expect(render(subject, input) == render(twin, input),
                        text("heard in block %d", i));
    }
    return findings.outcome("50 chunks while playing, not heard");
}

Outcome restoredSoundIsTheSame(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    const int states = task.count(10, 200);
    double most = 0.0;
    for (int i = 0; i < states; i++) {
        Subject saver(module);
        makeState(saver, static_cast<std::uint32_t>(100 + i));
        const Bytes bank = saver.chunk(false);
        saver.start(48000);
        Subject restored(module);
        restored.start(48000);
        restored.restore(bank, saver.program());
        const auto settle = silence<float>(saver.inputs(), 19200);
        render(saver, settle);
        render(restored, settle);
        const auto input = noise<float>(saver.inputs(), 4800);
        const double apart = difference(render(saver, input), render(restored, input));
        findings.expect(apart <= kSameSound, text("state %d: %.2g apart", i, apart));
        most = std::max(most, apart);
    }
    return findings.outcome(text("%d states, at most %.2g apart", states, most));
}

/// Flips, cuts and swells one chunk. What comes of it is the old state or a new one, never a crash.
Outcome damagedChunks(const Task& task) {
    const host::PluginModule module(task.plugin);
    Subject subject(module);
    if (!subject.hasChunks()) return skip("the plug-in has no chunks");
    subject.start(48000);
    Findings findings;
    Random random(31);
    int refused = 0;
    const int count = task.count(2000, 100000);
    for (int i = 0; i < count; i++) {
        const bool isProgram = i % 2 == 0;
        Bytes bytes = subject.chunk(isProgram);
        const Bytes before = bytes;
        const int kind = random.below(3);
        const auto at = static_cast<std::size_t>(random.below(static_cast<int>(bytes.size())));
        if (kind == 0) bytes[at] = static_cast<char>(bytes[at] ^ (1 << random.below(8)));
        if (kind == 1) bytes.resize(at + 1);
        if (kind == 2)
            for (int k = 0; k < 4; k++)
                bytes[(at + static_cast<std::size_t>(k)) % bytes.size()] =
                    static_cast<char>(random.next());
        if (!subject.load(isProgram, bytes)) {
            refused++;
            findings.expect(subject.chunk(isProgram) == before,
                            text("chunk %d is refused and yet changes the state", i));
        }
        for (const float value : subject.parameters())
            findings.expect(value >= 0.0F && value <= 1.0F,
                            text("chunk %d: a value out of range", i));
    }
    return findings.outcome(text("%d of %d refused, the state then as before", refused, count));
}

} // namespace

std::span<const Check> stateChecks() {
    static constexpr Check kChecks[] = {
        {"State", "savedRestoredSavedIsByteIdentical", &randomSets, 40},
        {"State", "ratesDoNotTouchTheState", &acrossRates, 20},
        {"State", "askingForChunksIsNotHeard", &askingChangesNothing, 10},
        {"State", "aRestoredStateSoundsTheSame", &restoredSoundIsTheSame, 20},
        {"State", "damagedChunksHarmNobody", &damagedChunks, 30},
    };
    return kChecks;
}

} // namespace lum::validate
