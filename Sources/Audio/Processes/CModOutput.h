#pragma once

#include "Audio/CAudioProcessDef.h"

namespace lum {

/// `audio:modOutput`: the definition of the graph's end point.
class CModOutputDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// The graph's end point. After `process` the instance reads the blocks from inputSlots(0), all
/// aligned to one latency, which is then in the environment; releaseInputs lets them go.
/// Audio thread.
class CModOutput : public CAudioProcessBase {
public:
    void update() LUM_REALTIME override;
    /// Runs the block head alone: merged and aligned blocks stay in the input slots.
    void process() LUM_REALTIME override;
};

} // namespace lum
