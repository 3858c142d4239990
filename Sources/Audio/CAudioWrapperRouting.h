#pragma once

#include "Audio/CAudioWrapper.h"

#include <array>

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

    std::array<CAudioParam*, 2> texts() const { return {inChannelNames, groupNames}; }
    std::array<CAudioParam*, 6> numbers() const {
        return {inRouting, grouping, outRouting, msPairs, sideChain, sideChainMute};
    }
    /// All that exist have a definition of the right data type.
    bool areUsable() const;
};

} // namespace lum
