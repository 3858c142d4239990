#include "Audio/Processes/CModOutput.h"

namespace lum {

CAudioProcessBase* CModOutputDef::createProcess() const {
    return new CModOutput;
}

void CModOutput::update() LUM_REALTIME {
    // Of an instance's graphs the instance knows which one is heard, and asks that one.
    if (formatChanged && !context->values)
        context->env.latency.store(latency, std::memory_order_relaxed);
}

void CModOutput::process() LUM_REALTIME {
    runBlockHead();
}

} // namespace lum
