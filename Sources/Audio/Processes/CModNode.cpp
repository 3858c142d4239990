#include "Audio/Processes/CModNode.h"

namespace lum {

CAudioProcessBase* CModNodeDef::createProcess() const {
    return new CModNode;
}

void CModNode::update() LUM_REALTIME {
    if (!formatChanged) return;
    CPortFormat format;
    format.sampleRate = sampleRate;
    for (const CChannelSlot& slot : inputSlots(0)) format.slots.push_back(slot.format);
    publish(0, format);
}

void CModNode::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    CSlotTable& slots = inputSlots(0);
    deliverEach(0, 0, slots.count, [&](int i) -> CSampleBlockRef& { return slots[i].block; });
    releaseInputs();
}

} // namespace lum
