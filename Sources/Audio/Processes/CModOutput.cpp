#include "Audio/Processes/CModOutput.h"

namespace lum {

CAudioProcessBase* CModOutputDef::createProcess() const {
    return new CModOutput;
}

void CModOutput::update() LUM_REALTIME {
    if (formatChanged && !context->values) context->env.latency = latency;
}

void CModOutput::process() LUM_REALTIME {
    runBlockHead();
}

} // namespace lum
