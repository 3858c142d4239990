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
    bool isDryHeard() const LUM_REALTIME { return !isWet && !isMuted; }

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

/// The dry signal waits in the delays that align it, and comes out of them when it is heard.
class CModBypass : public CAudioProcessTerminal<CModBypassModule> {
public:
    bool readsPort(int number) const LUM_REALTIME override;
};

} // namespace lum
