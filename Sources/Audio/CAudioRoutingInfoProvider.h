#pragma once

#include "Core/CCheckedObject.h"

namespace lum {

class CAudioParamBatch;
class CParamUndoRecord;

/// Lets the activation of a preset adapt a routing that is still a default one to the channels
/// that the host offers. Control threads.
class CAudioRoutingInfoProvider : public virtual CCheckedObject {
public:
    /// undo, batch: of the activation; both may be null.
    virtual void applyRouting(CParamUndoRecord* undo, CAudioParamBatch* batch) = 0;
};

} // namespace lum
