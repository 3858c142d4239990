#pragma once

#include "Audio/CAudioProcessDef.h"

namespace lum {

/// `audio:modNode`: a fixed point of a chain that explicit links can name.
class CModNodeDef : public CAudioProcessDefBase {
public:
    CAudioProcessBase* createProcess() const override;
};

/// Forwards its input by reference. Audio thread.
class CModNode : public CAudioProcessBase {
public:
    void update() LUM_REALTIME override;
    void process() LUM_REALTIME override;
};

} // namespace lum
