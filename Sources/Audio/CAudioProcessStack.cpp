#include "Audio/CAudioProcessStack.h"

#include <algorithm>

namespace lum {

namespace {

constexpr int kAllChannels = -1;

} // namespace

CAudioProcessStack::~CAudioProcessStack() = default;

CErrorResult CAudioProcessStack::init() {
    outlet.setOwner(*this);
    if (definition->stackParam.empty()) return nullptr;
    CAudioParam& param = context->collector.getParam(resolveName(definition->stackParam));
    stackParam = &subscribe(param, -1, -1, 0, ParamUse::Structure);
    return nullptr;
}

void CAudioProcessStack::reset() {
    CAudioProcessBase::reset();
    forEachEntry([](CAudioProcessBase& entry) { entry.reset(); });
}

void CAudioProcessStack::disconnect() {
    sleepAll();
    CAudioProcessBase::disconnect();
}

void CAudioProcessStack::sleep() {
    sleepAll();
    CAudioProcessBase::sleep();
}

bool CAudioProcessStack::isSettled() const {
    if (!CAudioProcessBase::isSettled()) return false;
    for (auto& layer : layers)
        for (auto& strand : layer->strands)
            for (int i = 0; i < strand->depth; i++)
                if (!strand->entries[i]->isSettled()) return false;
    return true;
}

/// The next update takes up again what is needed.
void CAudioProcessStack::sleepAll() {
    for (auto& layer : layers)
        for (auto& strand : layer->strands) sleepStrand(*strand);
    outlet.sleep();
    forwards.clear();
    runList.clear();
    formatChanged = 1;
}

int CAudioProcessStack::getLayerCount() const {
    return static_cast<int>(std::count_if(layers.begin(), layers.end(), [](const auto& layer) {
        return std::any_of(layer->strands.begin(), layer->strands.end(),
                           [](const auto& strand) { return strand->isInUse; });
    }));
}

CAudioProcessBase* CAudioProcessStack::findInstance(int group, int entry, int channel) const {
    for (auto& layer : layers)
        for (auto& strand : layer->strands)
            if (layer->group == group && strand->channel == channel && entry < strand->depth)
                return strand->entries[entry].get();
    return nullptr;
}

// A block.

void CAudioProcessStack::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    for (auto& layer : layers)
        for (auto& strand : layer->strands)
            if (strand->isInUse) strand->inlet.beginBlock(blockLength);
    for (const CForward& forward : forwards)
        forward.inlet->deliver(forward.port, forward.inletSlot, std::move(forward.slot->block));
    releaseInputs(); // of groups without a layer
    for (CAudioProcessBase* instance : runList)
        if (instance) instance->process();
    outlet.process();
}

void CAudioProcessStack::publishInner(int port, const CPortFormat& format) LUM_REALTIME {
    publish(port, format);
}

void CAudioProcessStack::deliverInner(int port, int firstSlot, CSampleBlockRef* blocks,
                                      int count) LUM_REALTIME {
    deliverEach(port, firstSlot, count, [&](int i) -> CSampleBlockRef& { return blocks[i]; });
}

// Layers.

void CAudioProcessStack::update() LUM_REALTIME {
    if (!formatChanged && !(stackParam && stackParam->isNew())) return;
    assignSlots();
    for (auto& layer : layers)
        for (auto& strand : layer->strands) {
            if (strand->isInUse)
                settleStrand(*layer, *strand);
            else
                sleepStrand(*strand);
        }
    rebuildForwards();
    rebuildRunList();
}

/// Finds out which strands have channels, and makes those that are new in ascending group order.
void CAudioProcessStack::assignSlots() LUM_REALTIME {
    for (auto& layer : layers)
        for (auto& strand : layer->strands) strand->isInUse = false;
    for (int group = 0; group < kMaxGroups; group++)
        for (auto& port : inputPorts)
            for (const CChannelSlot& slot : port->slots) {
                if (slot.format.group != group) continue;
                int channel = definition->isChannelStack ? slot.format.channel : kAllChannels;
                strandOf(layerOf(group), channel).isInUse = true;
            }
}

CAudioProcessStack::CLayer& CAudioProcessStack::layerOf(int group) LUM_REALTIME {
    for (auto& layer : layers)
        if (layer->group == group) return *layer;
    layers.push_back(std::unique_ptr<CLayer>(new CLayer));
    layers.back()->group = group;
    return *layers.back();
}

CAudioProcessStack::CStrand& CAudioProcessStack::strandOf(CLayer& layer, int channel) LUM_REALTIME {
    for (auto& strand : layer.strands)
        if (strand->channel == channel) return *strand;
    layer.strands.push_back(std::unique_ptr<CStrand>(new CStrand));
    layer.strands.back()->channel = channel;
    return *layer.strands.back();
}

/// Brings the chain to its length and links its first entry to all ports of the stack.
void CAudioProcessStack::settleStrand(CLayer& layer, CStrand& strand) LUM_REALTIME {
    int depth = depthOf(layer.group);
    while (strand.depth > depth) removeEntry(strand);
    while (strand.depth < depth && addEntry(layer, strand)) {
    }
    if (strand.depth == 0) return;
    for (auto& port : inputPorts)
        connect(strand.inlet, port->number, *strand.entries[0], port->number);
}

int CAudioProcessStack::depthOf(int group) const LUM_REALTIME {
    return stackParam ? std::max(roundToInt(stackParam->read(group, 0, 1.0)), 1) : 1;
}

/// Puts an entry behind the last one, a sleeping one if there is any. False when it cannot be made.
bool CAudioProcessStack::addEntry(CLayer& layer, CStrand& strand) LUM_REALTIME {
    if (strand.entries.ssize() == strand.depth) {
        CGroupPlace place = {layer.group, strand.depth + definition->stackIndexShift};
        std::unique_ptr<CAudioProcessBase> made;
        CErrorResult error =
            definition->instantiate(made, fullName, *context, this, true, true, &place);
        if (error) {
            logAndDropError(std::move(error));
            return false;
        }
        strand.entries.push_back(std::move(made));
    }
    CAudioProcessBase& entry = *strand.entries[strand.depth];
    if (strand.depth > 0) {
        CAudioProcessBase& before = *strand.entries[strand.depth - 1];
        unlink(before, 0, outlet, 0);
        connect(before, 0, entry, 0);
    }
    connect(entry, 0, outlet, 0);
    strand.depth++;
    return true;
}

void CAudioProcessStack::removeEntry(CStrand& strand) LUM_REALTIME {
    strand.entries[--strand.depth]->sleep();
    if (strand.depth > 0) connect(*strand.entries[strand.depth - 1], 0, outlet, 0);
}

void CAudioProcessStack::sleepStrand(CStrand& strand) LUM_REALTIME {
    while (strand.depth > 0) strand.entries[--strand.depth]->sleep();
    strand.inlet.sleep();
    strand.isInUse = false;
}

void CAudioProcessStack::rebuildForwards() LUM_REALTIME {
    forwards.clear();
    for (auto& layer : layers)
        for (auto& strand : layer->strands)
            for (auto& port : inputPorts)
                if (strand->depth > 0) forwardPort(*layer, *strand, *port);
}

/// Tells a strand its part of an input port.
void CAudioProcessStack::forwardPort(CLayer& layer, CStrand& strand,
                                     CInputPort& port) LUM_REALTIME {
    CPortFormat format;
    format.sampleRate = sampleRate;
    for (CChannelSlot& slot : port.slots) {
        bool isOurs = strand.channel == kAllChannels || strand.channel == slot.format.channel;
        if (slot.format.group != layer.group || !isOurs) continue;
        forwards.push_back({&strand.inlet, port.number, &slot, format.slots.ssize()});
        format.slots.push_back(slot.format);
    }
    strand.inlet.publish(port.number, format);
}

void CAudioProcessStack::rebuildRunList() LUM_REALTIME {
    runList.clear();
    forEachEntry([&](CAudioProcessBase& entry) { runList.push_back(&entry); });
    runList.push_back(nullptr);
}

} // namespace lum
