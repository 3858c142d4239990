#pragma once

#include "Audio/CAudioProcessDef.h"

namespace lum {

/// `audio:modMSCoder`
class CModMSCoderDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// Turns pairs of channels into mid and side, or back. Audio thread.
class CModMSCoder : public CAudioProcessBase {
public:
    CErrorResult init() override;
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
    void registerParams() override;

private:
    struct CPair {
        int id;
        int first;  // slot
        int second; // slot; -1: none yet
    };

    void pairSlots(const CSlotTable& slots) LUM_REALTIME;
    void addToPair(int id, int slot) LUM_REALTIME;
    void codePair(CSlotTable& slots, const CPair& pair) LUM_REALTIME;

    CParamSubscription* pairIds = nullptr;
    CParamSubscription* mode = nullptr;
    CParamSubscription* bypass = nullptr;
    CVector<CPair, kMaxPortChannels> pairs;
    CVector<int, kMaxPortChannels> forwarded; // slots
    bool isDecoder = false;
};

} // namespace lum
