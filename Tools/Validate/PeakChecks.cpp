// No state and no change of state is louder than the filter that stands for it.

#include "Validate/Check.h"
#include "Validate/Signals.h"
#include "Validate/Subject.h"

#include <algorithm>
#include <cmath>

namespace lum::validate {

namespace {

constexpr double kRate = 48000.0; // Hz
constexpr int kSettle = 9600;     // frames, past any fade
constexpr int kResponse = 8192;   // frames, beyond the end of the response
constexpr double kSlack = 1e-5;   // of the bound: the rounding of 32-bit samples

double peakOf(const Planar<float>& signal) {
    double peak = 0.0;
    for (float sample : signal[0]) peak = std::max(peak, std::abs(static_cast<double>(sample)));
    return peak;
}

double worstCaseOf(const std::vector<double>& response) {
    double sum = 0.0;
    for (double tap : response) sum += std::abs(tap);
    return sum;
}

/// Full-scale signals in the first channel: noise, its signs, and the one that the response adds
/// up to the worst case.
std::vector<Planar<float>> loudSignals(const Subject& subject,
                                       const std::vector<double>& response) {
    auto soft = silence<float>(subject.inputs(), 2 * kResponse);
    soft[0] = noise<float>(1, 2 * kResponse)[0];
    auto signs = soft;
    for (float& sample : signs[0]) sample = sample < 0.0F ? -1.0F : 1.0F;
    auto worst = silence<float>(subject.inputs(), 2 * kResponse);
    for (std::size_t i = 0; i < response.size(); i++)
        worst[0][i] = response[response.size() - 1 - i] < 0.0 ? -1.0F : 1.0F;
    return {soft, signs, worst};
}

/// Whether half the input gives half the output: the bound is one of linear systems.
bool isLinear(const host::PluginModule& module) {
    Subject subject(module);
    subject.start(kRate);
    auto input = silence<float>(subject.inputs(), 4096);
    input[0] = noise<float>(1, 4096)[0];
    const auto whole = render(subject, input);
    for (float& sample : input[0]) sample *= 0.5F;
    render(subject, silence<float>(subject.inputs(), kSettle));
    const auto half = render(subject, input);
    for (std::size_t i = 0; i < whole[0].size(); i++)
        if (std::abs(whole[0][i] - 2.0F * half[0][i]) > 1e-4F) return false;
    return true;
}

/// Extremes first, then what chance gives.
void setState(Subject& subject, int state) {
    if (state > 3) return scramble(subject, static_cast<std::uint32_t>(state));
    for (int i = 0; i < subject.parameterCount(); i++) {
        const bool isHigh = state == 0 || (state > 1 && i % 2 == state - 2);
        subject.set(i, isHigh ? 1.0F : 0.0F);
    }
    if (const int bypass = subject.find("Bypass"); bypass >= 0) subject.set(bypass, 0.0F);
}

Outcome statesStayInBounds(const Task& task) {
    const host::PluginModule module(task.plugin);
    if (!isLinear(module)) return skip("the plug-in is not linear");
    Findings findings;
    Subject subject(module);
    subject.start(kRate);
    double loudest = 0.0;
    double closest = 0.0;
    const int states = task.count(24, 2000);
    for (int state = 0; state < states; state++) {
        setState(subject, state);
        render(subject, noise<float>(subject.inputs(), kSettle));
        const auto response = impulseResponse(subject, kResponse, kSettle);
        const double bound = worstCaseOf(response);
        for (const auto& signal : loudSignals(subject, response)) {
            render(subject, silence<float>(subject.inputs(), kResponse));
            const double peak = peakOf(render(subject, signal));
            findings.expect(peak <= bound * (1.0 + kSlack),
                            text("state %d: peak %.6f above %.6f", state, peak, bound));
            closest = std::max(closest, peak / bound);
        }
        loudest = std::max(loudest, bound);
    }
    return findings.outcome(text("%d states, worst case %+.2f dB, reached to %.6f", states,
                                 20.0 * std::log10(loudest), closest));
}

/// Between two states that differ in one parameter the sound is a mixture of both.
Outcome changesStayInBounds(const Task& task) {
    const host::PluginModule module(task.plugin);
    if (!isLinear(module)) return skip("the plug-in is not linear");
    Findings findings;
    Subject subject(module);
    subject.start(kRate);
    setState(subject, 7);
    Random random(9);
    double before = 0.0;
    const int changes = task.count(40, 4000);
    auto signal = silence<float>(subject.inputs(), kSettle);
    signal[0] = noise<float>(1, kSettle)[0];
    for (float& sample : signal[0]) sample = sample < 0.0F ? -1.0F : 1.0F;
    for (int i = 0; i < changes; i++) {
        const double peak = peakOf(render(subject, signal));
        const double after = worstCaseOf(impulseResponse(subject, kResponse, kSettle));
        if (i > 0)
            findings.expect(
                peak <= std::max(before, after) * (1.0 + kSlack),
                text("change %d: peak %.6f between %.6f and %.6f", i, peak, before, after));
        before = after;
        subject.set(random.below(subject.parameterCount()), random.below(2) ? 1.0F : 0.0F);
    }
    return findings.outcome(text("%d full-range changes of one parameter", changes));
}

} // namespace

std::span<const Check> peakChecks() {
    static constexpr Check kChecks[] = {
        {"Numbers", "noStateIsLouderThanItsWorstCase", &statesStayInBounds, 40},
        {"Numbers", "noChangeIsLouderThanBothStates", &changesStayInBounds, 40},
    };
    return kChecks;
}

} // namespace lum::validate
