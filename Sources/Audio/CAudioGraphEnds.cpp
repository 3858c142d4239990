#include "Audio/CAudioGraphEnds.h"

namespace lum {

void CGraphOutlet::process() LUM_REALTIME {
    for (auto& port : inputPorts) {
        if (port->isTouched) publishPort(*port);
        int slot = 0;
        for (auto& source : port->sources) {
            const int count = source->blocks.ssize();
            owner->deliverInner(port->number, slot, source->blocks.data(), count);
            slot += count;
        }
    }
}

void CGraphOutlet::publishPort(CInputPort& port) LUM_REALTIME {
    port.isTouched = false;
    CPortFormat format;
    for (auto& source : port.sources) {
        if (format.sampleRate == 0.0) format.sampleRate = source->format.sampleRate;
        format.slots.reserve(format.slots.size() + source->format.slots.size());
        for (const CSlotFormat& slot : source->format.slots) format.slots.push_back(slot);
    }
    owner->publishInner(port.number, format);
}

} // namespace lum
