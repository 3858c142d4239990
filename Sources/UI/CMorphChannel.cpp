#include "UI/CMorphChannel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lum {

namespace {

constexpr double kValueSteps = 10000.0;
constexpr double kFadeLanding = 0.95; // factor at which the target takes over

} // namespace

double easedValue(double from, double to, double start, double end, double now) {
    if (!(end - start > 0.0)) return to;
    const double t = std::clamp((now - start) / (end - start), 0.0, 1.0);
    const double angle = std::numbers::pi * t - std::numbers::pi / 2.0;
    return from + (to - from) * (1.0 + std::sin(angle)) * 0.5;
}

void CMorphChannel::start(double fromValue, double toValue, double now, double duration) {
    from = fromValue;
    to = toValue;
    startTime = now;
    endTime = now + duration;
    current = fromValue;
    finished = false;
}

double CMorphChannel::step(double now) {
    if (now >= endTime) {
        finished = true;
        current = to;
        return current;
    }
    const double eased = std::min(easedValue(from, to, startTime, endTime, now), to);
    current = std::round(eased * kValueSteps) / kValueSteps;
    return current;
}

void CLookCrossfade::reset(const CViewLook& look) {
    current = target = queued = look;
    factor = 0.0;
}

void CLookCrossfade::start(const CViewLook& look, double now, double newDuration) {
    if (!isRunning()) {
        target = look;
        startTime = now;
        endTime = now + newDuration;
        factor = 0.0;
    }
    queued = look;
    duration = newDuration;
}

bool CLookCrossfade::step(double now) {
    if (!isRunning()) return false;
    factor = easedValue(0.0, 1.0, startTime, endTime, now);
    if (factor <= kFadeLanding) return true;
    current = target;
    target = queued;
    startTime = now;
    endTime = now + duration;
    factor = 0.0;
    return true;
}

} // namespace lum
