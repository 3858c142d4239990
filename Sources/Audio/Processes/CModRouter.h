#pragma once

#include "Audio/CAudioProcessDef.h"

namespace lum {

/// `audio:modRouter`
class CModRouterDef : public CAudioProcessDefBase {
public:
    CErrorResult init() override;
    CAudioProcessBase* createProcess() const override;

    bool isOutput = false;
    CString channelCountsParam; // full name; empty: none
};

/// Maps host channels to internal channels with their groups (input router), or internal channels
/// to host channels (output router). Several sources of a route are averaged. Audio thread.
class CModRouter : public CAudioProcessBase {
public:
    CErrorResult init() override;
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
    void registerParams() override;

private:
    struct CRoute {
        int channel;
        int group;
        double weight;
        CVector<CChannelSlot*, kMaxPortChannels> sources;
    };

    int routeOf(const CParamSubscription* param, int element) const LUM_REALTIME;
    void routeInputs(CSlotTable& slots) LUM_REALTIME;
    void routeOutputs(CSlotTable& slots) LUM_REALTIME;
    void addToRoute(int channel, CChannelSlot& source) LUM_REALTIME;
    void finishRoutes() LUM_REALTIME;
    void publishRoutes() LUM_REALTIME;
    void writeChannelCounts() LUM_REALTIME;
    CSampleBlockRef mixRoute(const CRoute& route) LUM_REALTIME;

    const CModRouterDef* routerDef = nullptr;
    CParamSubscription* routing = nullptr;
    CParamSubscription* grouping = nullptr;
    CAudioParam* channelCounts = nullptr;
    int writtenCounts[kMaxGroups] = {-1, -1, -1, -1, -1, -1, -1, -1};
    CRoute routes[kMaxPortChannels];
    int routeCount = 0;
};

} // namespace lum
