#include "Audio/Processes/CModGain.h"

#include "Audio/Processes/SampleOps.h"

#include <cmath>

namespace lum {

namespace {

enum GainParam { kGain = 0, kMute = 1, kPhaseInvert = 2 }; // param-alloc indices
constexpr double kEpsilon = 2.220446049250313e-16;         // of the comparison with 1

} // namespace

CAudioProcessBase* CModGainDef::createProcess() const {
    return new CModGain;
}

void CModGainModule::registerParams() {
    regModuleParam(kGain, &gain);
    regModuleParam(kMute, &mute);
    regModuleParam(kPhaseInvert, &phaseInvert);
}

void CModGainModule::update() LUM_REALTIME {
    isMuted = mute.read() >= 0.5;
    double sign = phaseInvert.read() >= 0.5 ? -1.0 : 1.0;
    factor = isMuted ? 0.0 : gain.read(0, 1.0) * sign;
    isActive = std::abs(factor - 1.0) > (1.0 + std::abs(factor)) * kEpsilon;
}

void CModGainModule::process(int frames) LUM_REALTIME {
    for (CModuleChannel& channel : channels) {
        channel.output = channel.input->block;
        if (!isActive) continue;
        CSampleBlockRef out = getPool().take(frames);
        if (isMuted)
            noise.fill(out.samples(), frames);
        else
            ops::scale(out.samples(), channel.output.samples(), factor, frames);
        channel.output = std::move(out);
    }
}

} // namespace lum
