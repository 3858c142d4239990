#pragma once

#include "Audio/CAudioProcessDef.h"
#include "Audio/CAudioProcessTerminal.h"
#include "Audio/Processes/CNoiseFloor.h"

namespace lum {

/// `audio:modBypass`
class CModBypassDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// One channel of the bypass: the processed signal of port 0, the dry one of port 1, or the noise
/// floor where another group is soloed.
class CModBypassModule : public CAudioModule {
public:
    void init() override;
    void update() LUM_REALTIME override;
    void registerParams() override;
    void process(int frames) LUM_REALTIME;

private:
    void findDrySlot() LUM_REALTIME;
    bool isAnySoloed() const LUM_REALTIME;

    CParamHandle enable;
    CParamHandle groupSolo;
    CChannelSlot* drySlot = nullptr; // of port 1
    bool isWet = true;
    bool isMuted = false;
    CNoiseFloor noise;
};

class CModBypass : public CAudioProcessTerminal<CModBypassModule> {};

} // namespace lum
