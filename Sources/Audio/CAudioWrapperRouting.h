#pragma once

#include "Audio/CAudioWrapper.h"

namespace lum {

/// The routing parameters of the product; null where the product does not use one.
struct CAudioWrapper::CRoutingParams : public CLumMemAllocator {
    CAudioParam* inChannelNames = nullptr;
    CAudioParam* groupNames = nullptr;
    CAudioParam* inRouting = nullptr;
    CAudioParam* grouping = nullptr;
    CAudioParam* outRouting = nullptr;
    CAudioParam* msPairs = nullptr;
    CAudioParam* sideChain = nullptr;
    CAudioParam* sideChainMute = nullptr;

    /// All that exist have a definition of the right data type.
    bool areUsable() const;
};

} // namespace lum
