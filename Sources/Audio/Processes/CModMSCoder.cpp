#include "Audio/Processes/CModMSCoder.h"

#include "Audio/Processes/SampleOps.h"

#include <algorithm>

namespace lum {

namespace {

enum CoderParam { kPairs = 0, kMode = 1, kBypass = 2 }; // param-alloc indices

} // namespace

CAudioProcessBase* CModMSCoderDef::createProcess() const {
    return new CModMSCoder;
}

CErrorResult CModMSCoder::init() {
    registerParams();
    return nullptr;
}

void CModMSCoder::registerParams() {
    findAllocParams();
    pairIds = subscribeAlloc(kPairs, groupIndex, ParamUse::Structure);
    mode = subscribeAlloc(kMode, groupIndex, ParamUse::Structure);
    bypass = subscribeAlloc(kBypass, groupIndex, ParamUse::Structure);
}

void CModMSCoder::update() LUM_REALTIME {
    isDecoder = mode && roundToInt(mode->read(groupIndex, 0, 0.0)) != 0;
    bool isNew = (pairIds && pairIds->isNew()) || (bypass && bypass->isNew());
    if (!formatChanged && !isNew) return;
    CSlotTable& slots = inputSlots(0);
    CPortFormat format;
    format.sampleRate = sampleRate;
    for (const CChannelSlot& slot : slots) format.slots.push_back(slot.format);
    publish(0, format);
    pairSlots(slots);
}

void CModMSCoder::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    CSlotTable& slots = inputSlots(0);
    if (blockLength > 0) {
        for (int slot : forwarded) deliver(0, slot, slots[slot].block);
        for (const CPair& pair : pairs) codePair(slots, pair);
    }
    releaseInputs();
}

void CModMSCoder::pairSlots(const CSlotTable& slots) LUM_REALTIME {
    pairs.clear();
    forwarded.clear();
    bool isOff = !pairIds || (bypass && bypass->read(groupIndex, 0, 0.0) >= 0.5);
    int group = isOff || pairIds->storage->getFormat().isSingleGroup ? 0 : groupIndex;
    int elements = isOff ? 0 : pairIds->storage->getElementCount(group);
    for (int i = 0; i < slots.count; i++) {
        int channel = slots.slots[i].format.channel;
        int id = channel < elements ? roundToInt(pairIds->read(group, channel, 0.0)) - 1 : -1;
        if (id < 0)
            forwarded.push_back(i);
        else
            addToPair(id, i);
    }
    for (int i = pairs.ssize() - 1; i >= 0; i--) {
        if (pairs[i].second >= 0) continue;
        forwarded.push_back(pairs[i].first);
        pairs.erase(static_cast<size_t>(i));
    }
}

void CModMSCoder::addToPair(int id, int slot) LUM_REALTIME {
    auto pair =
        std::find_if(pairs.begin(), pairs.end(), [&](const CPair& p) { return p.id == id; });
    if (pair == pairs.end())
        pairs.push_back({id, slot, -1});
    else if (pair->second < 0)
        pair->second = slot;
    else
        forwarded.push_back(slot); // a pair is full with two
}

void CModMSCoder::codePair(CSlotTable& slots, const CPair& pair) LUM_REALTIME {
    CSampleBlockRef first = getPool().take(blockLength);
    CSampleBlockRef second = getPool().take(blockLength);
    const double* a = slots[pair.first].block.samples();
    const double* b = slots[pair.second].block.samples();
    if (isDecoder)
        ops::decodeMidSide(first.samples(), second.samples(), a, b, blockLength);
    else
        ops::encodeMidSide(first.samples(), second.samples(), a, b, blockLength);
    deliver(0, pair.first, std::move(first));
    deliver(0, pair.second, std::move(second));
}

} // namespace lum
