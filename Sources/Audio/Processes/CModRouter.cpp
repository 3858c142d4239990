#include "Audio/Processes/CModRouter.h"

#include "Audio/Processes/SampleOps.h"

#include <algorithm>

namespace lum {

namespace {

enum RouterParam { kRouting = 0, kGrouping = 1 }; // param-alloc indices

} // namespace

CErrorResult CModRouterDef::init() {
    LUM_TRY(CAudioProcessDefBase::init());
    isOutput = getAttrBool("is-output");
    channelCountsParam = getAttrString("channel-counts-param");
    return nullptr;
}

CAudioProcessBase* CModRouterDef::createProcess() const {
    return new CModRouter;
}

CErrorResult CModRouter::init() {
    routerDef = dynamic_cast<const CModRouterDef*>(definition);
    if (!routerDef)
        return LUM_FAIL("@lumstr_CModRouter_init_InvalidDef "
                        "Audio process def of invalid class supplied.");
    if (!routerDef->isOutput && !routerDef->channelCountsParam.empty())
        channelCounts = &context->collector.getParam(routerDef->channelCountsParam);
    registerParams();
    return nullptr;
}

void CModRouter::registerParams() {
    findAllocParams();
    routing = subscribeAlloc(kRouting, groupIndex, ParamUse::Structure);
    grouping = subscribeAlloc(kGrouping, groupIndex, ParamUse::Structure);
}

void CModRouter::update() LUM_REALTIME {
    bool isNew = (routing && routing->isNew()) || (grouping && grouping->isNew());
    if (!formatChanged && !isNew) return;
    routeCount = 0;
    if (routerDef->isOutput)
        routeOutputs(inputSlots(0));
    else
        routeInputs(inputSlots(0));
    finishRoutes();
    publishRoutes();
    writeChannelCounts();
}

void CModRouter::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    if (blockLength > 0) {
        for (int i = 0; i < routeCount; i++) {
            const CRoute& route = routes[i];
            deliver(0, i, route.sources.size() == 1 ? route.sources[0]->block : mixRoute(route));
        }
        if (routeCount == 0) deliver(0, 0, getPool().takeZeroed(blockLength));
    }
    releaseInputs();
}

/// The route that an element asks for, -1 for none.
int CModRouter::routeOf(const CParamSubscription* param, int element) const LUM_REALTIME {
    int route = roundToInt(param->read(groupIndex, element, 0.0)) - 1;
    return route < kMaxPortChannels ? route : -1;
}

/// `routing` is indexed by host channel.
void CModRouter::routeInputs(CSlotTable& slots) LUM_REALTIME {
    if (!routing) return;
    int group = routing->storage->getFormat().isSingleGroup ? 0 : groupIndex;
    int elements = routing->storage->getElementCount(group);
    for (CChannelSlot& slot : slots) {
        if (slot.format.channel >= elements) continue;
        int route = routeOf(routing, slot.format.channel);
        if (route >= 0) addToRoute(route, slot);
    }
}

/// `routing` is indexed by output channel.
void CModRouter::routeOutputs(CSlotTable& slots) LUM_REALTIME {
    if (!routing) return;
    int group = routing->storage->getFormat().isSingleGroup ? 0 : groupIndex;
    int elements = std::min(routing->storage->getElementCount(group), kMaxPortChannels);
    for (int element = 0; element < elements; element++) {
        int channel = routeOf(routing, element);
        auto slot = std::find_if(slots.begin(), slots.end(), [&](const CChannelSlot& candidate) {
            return candidate.format.channel == channel;
        });
        if (channel >= 0 && slot != slots.end()) addToRoute(element, *slot);
    }
}

void CModRouter::addToRoute(int channel, CChannelSlot& source) LUM_REALTIME {
    CRoute* route = std::find_if(routes, routes + routeCount, [&](const CRoute& candidate) {
        return candidate.channel == channel;
    });
    if (route == routes + routeCount) {
        routeCount++;
        route->channel = channel;
        route->sources.clear();
    }
    route->sources.push_back(&source);
}

void CModRouter::finishRoutes() LUM_REALTIME {
    for (int i = 0; i < routeCount; i++) {
        CRoute& route = routes[i];
        route.weight = 1.0 / route.sources.ssize();
        int group = grouping ? roundToInt(grouping->read(groupIndex, route.channel, 0.0)) : 0;
        route.group = std::clamp(group, 0, kMaxGroups - 1);
    }
}

/// A router without a route publishes one silent channel, so that the chain behind it stays alive.
void CModRouter::publishRoutes() LUM_REALTIME {
    CPortFormat format;
    format.sampleRate = sampleRate;
    for (int i = 0; i < routeCount; i++)
        format.slots.push_back({routes[i].channel, 0, routes[i].group, latency});
    if (routeCount == 0) format.slots.push_back({0, 0, 0, latency});
    publish(0, format);
}

void CModRouter::writeChannelCounts() LUM_REALTIME {
    if (!channelCounts) return;
    int counts[kMaxGroups] = {};
    for (int i = 0; i < routeCount; i++) counts[routes[i].group]++;
    for (int group = 0; group < kMaxGroups; group++) {
        if (counts[group] == writtenCounts[group]) continue;
        writtenCounts[group] = counts[group];
        context->controlWrites.post(*channelCounts, group, counts[group]);
    }
}

CSampleBlockRef CModRouter::mixRoute(const CRoute& route) LUM_REALTIME {
    const double* sources[kMaxPortChannels];
    for (int i = 0; i < route.sources.ssize(); i++) sources[i] = route.sources[i]->block.samples();
    CSampleBlockRef mixed = getPool().take(blockLength);
    ops::sum(mixed.samples(), sources, route.sources.ssize(), blockLength);
    ops::scale(mixed.samples(), mixed.samples(), route.weight, blockLength);
    return mixed;
}

} // namespace lum
