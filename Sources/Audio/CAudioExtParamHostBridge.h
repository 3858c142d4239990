#pragma once

#include "Audio/CAudioParamCollector.h"

namespace lum {

/// Through this an exposed parameter tells the host of a change. It is called with no parameter
/// locked, on whatever thread closed the last guard.
class CAudioExtParamHostBridge : public CDeferredCallTarget {
public:
    /// index: of the exposed parameter. value: normalised, 0 to 1.
    virtual void hostParamChanged(int32_t index, double value) = 0;

    void onDeferredCall(int32_t argument, double value) final { hostParamChanged(argument, value); }
};

} // namespace lum
