// The latency field against the delay that is heard.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <cmath>

namespace lum::validate {

namespace {

constexpr double kRates[] = {22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000};
constexpr int kSettle = 4096; // frames, past any fade at these lengths
constexpr int kTail = 4096;   // frames heard behind the latency

/// Frame of the response's highest peak.
int measuredDelay(Subject& subject) {
    const auto response = impulseResponse(subject, subject.latency() + kTail, kSettle);
    const auto peak = std::ranges::max_element(
        response, [](double a, double b) { return std::abs(a) < std::abs(b); });
    return static_cast<int>(peak - response.begin());
}

void compare(Subject& subject, const std::string& when, Findings& findings) {
    const int heard = measuredDelay(subject);
    findings.expect(heard == subject.latency(), text("%s: the field says %d, heard %d",
                                                     when.c_str(), subject.latency(), heard));
}

Outcome fieldIsTheDelay(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    std::string figure;
    Subject walker(module); // one that goes through all rates
    for (const double rate : kRates) {
        Subject fresh(module);
        fresh.start(rate);
        compare(fresh, text("%g Hz", rate), findings);
        walker.suspend();
        walker.start(rate);
        compare(walker, text("%g Hz after others", rate), findings);
        findings.expect(walker.latency() == fresh.latency(), text("%g Hz depends on before", rate));
        figure += (figure.empty() ? "" : ", ") + std::to_string(fresh.latency());
    }
    return findings.outcome(figure + " frames at 22.05 to 192 kHz");
}

Outcome toldBeforeTheHost(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    Subject subject(module);
    int told = 0;
    int moved = 0;
    for (const double rate : kRates) {
        const int before = subject.latency();
        subject.host().ioChanges = 0;
        subject.suspend();
        subject.start(rate);
        const int resumed = subject.latency();
        for (std::uint32_t seed = 1; seed < 4; seed++) {
            scramble(subject, seed);
            render(subject, noise<float>(subject.inputs(), kSettle));
        }
        moved += subject.latency() != before;
        told += subject.host().ioChanges;
        if (subject.host().ioChanges > 0)
            findings.expect(subject.host().delayAtIoChange == subject.latency(),
                            text("%g Hz: told with %d in the field, then %d", rate,
                                 subject.host().delayAtIoChange.load(), subject.latency()));
        else
            findings.expect(subject.latency() == resumed,
                            text("%g Hz: moved while running, the host was not told", rate));
    }
    return findings.outcome(text("%d changes at resume, %d while running", moved, told));
}

Outcome independentOfState(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    int states = 0;
    for (const double rate : {44100.0, 96000.0}) {
        Subject subject(module);
        subject.start(rate);
        const int expected = subject.latency();
        const auto same = [&](const std::string& when) {
            states++;
            findings.expect(subject.latency() == expected,
                            text("%s: %d, not %d", when.c_str(), subject.latency(), expected));
        };
        for (std::uint32_t seed = 1; seed <= static_cast<std::uint32_t>(task.count(20, 500));
             seed++) {
            scramble(subject, seed);
            render(subject, noise<float>(subject.inputs(), kSettle));
            same(text("state %u", seed));
            if (task.isLinearPhase) compare(subject, text("state %u", seed), findings);
        }
        for (int i = 0; i < subject.effect().numPrograms; i++) {
            subject.send(vst::kEffectSetProgram, 0, i);
            render(subject, noise<float>(subject.inputs(), kSettle));
            same(text("program %d", i));
        }
        for (const int value : {1, 0}) {
            subject.send(vst::kEffectSetBypass, 0, value);
            if (const int bypass = subject.find("Bypass"); bypass >= 0)
                subject.set(bypass, static_cast<float>(value));
            render(subject, noise<float>(subject.inputs(), kSettle));
            same(value ? "bypassed" : "not bypassed");
            if (value && subject.find("Bypass") >= 0) compare(subject, "bypassed", findings);
        }
        vst::Rect* rect = nullptr;
        subject.send(vst::kEffectEditGetRect, 0, 0, &rect);
        same("editor asked");
    }
    return findings.outcome(text("%d states, programs and bypass at two rates", states));
}

Outcome independentOfOrder(const Task& task) {
    const host::PluginModule module(task.plugin);
    Findings findings;
    using Order = void (*)(Subject&);
    constexpr Order kOrders[] = {
        [](Subject& s) { s.start(96000); },
        [](Subject& s) { s.setRate(96000), s.open(), s.resume(); },
        [](Subject& s) { s.open(), s.resume(), s.setRate(96000), s.resume(); },
        [](Subject& s) { s.start(44100), s.suspend(), s.setRate(96000), s.resume(); },
        [](Subject& s) { s.start(44100), s.setRate(96000), s.suspend(), s.resume(); },
        [](Subject& s) { s.start(192000), s.suspend(), s.suspend(), s.start(96000), s.resume(); },
        [](Subject& s) { s.setRate(96000, 1), s.resume(), s.open(); },
        [](Subject& s) {
            s.setRate(96000, 8192), s.open(), s.load(false, s.chunk(false)), s.resume();
        },
    };
    int expected = 0;
    for (std::size_t i = 0; i < std::size(kOrders); i++) {
        Subject subject(module);
        kOrders[i](subject);
        if (i == 0) expected = subject.latency();
        findings.expect(subject.latency() == expected,
                        text("order %zu: %d, not %d", i, subject.latency(), expected));
        compare(subject, text("order %zu", i), findings);
    }
    return findings.outcome(text("%d frames in %zu orders", expected, std::size(kOrders)));
}

} // namespace

std::span<const Check> latencyChecks() {
    static constexpr Check kChecks[] = {
        {"Latency", "theFieldIsTheDelayHeard", &fieldIsTheDelay, 30},
        {"Latency", "theFieldIsRightBeforeTheHostIsTold", &toldBeforeTheHost, 20},
        {"Latency", "stateBypassAndEditorDoNotMoveIt", &independentOfState, 30},
        {"Latency", "theOrderOfCallsDoesNotMoveIt", &independentOfOrder, 20},
    };
    return kChecks;
}

} // namespace lum::validate
