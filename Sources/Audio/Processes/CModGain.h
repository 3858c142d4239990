#pragma once

#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessTerminal.h"
#include "Audio/Processes/CNoiseFloor.h"

namespace lum {

/// `audio:modGain`
class CModGainDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// The gain of one channel: a linear factor, a phase switch and a mute that leaves the noise floor.
class CModGainModule : public CAudioModule {
public:
    void update() LUM_REALTIME override;
    void registerParams() override;
    void process(int frames) LUM_REALTIME;

private:
    CParamHandle gain;
    CParamHandle mute;
    CParamHandle phaseInvert;
    double factor = 1.0;
    bool isMuted = false;
    bool isActive = false; // the factor differs from 1
    CNoiseFloor noise;
};

class CModGain : public CAudioProcessTerminal<CModGainModule> {};

} // namespace lum
