#include "Audio/CAudioGraphEnds.h"

namespace lum {

void CGraphOutlet::process() LUM_REALTIME {
    for (auto& port : inputPorts) {
        if (port->changeCounter != port->seenCounter) publishPort(*port);
        int slot = 0;
        for (auto& source : port->sources)
            for (CSampleBlockRef& block : source->blocks) {
                owner->deliverInner(port->number, slot++, block);
                block.reset();
            }
    }
}

void CGraphOutlet::publishPort(CInputPort& port) LUM_REALTIME {
    port.seenCounter = port.changeCounter;
    CPortFormat format;
    for (auto& source : port.sources) {
        if (format.sampleRate == 0.0) format.sampleRate = source->format.sampleRate;
        format.slots.reserve(format.slots.size() + source->format.slots.size());
        for (const CSlotFormat& slot : source->format.slots) format.slots.push_back(slot);
    }
    owner->publishInner(port.number, format);
}

} // namespace lum
