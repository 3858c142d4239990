#pragma once

#include "Audio/Transform/SampleLoops.h"
#include "Audio/Transform/SpectrumLoops.h"
#include "Audio/Transform/TransformPasses.h"
#include "Audio/Transform/VectorCode.h"

namespace lum {

/// All inner loops, in a type P of four complex points (see TransformPoints.h) that belongs to one
/// file alone. FixedOrders: see CTransform.
template <class P, int FixedOrders>
constexpr CVectorCode vectorCodeOfPoints() {
    using CPasses = CTransform<P, FixedOrders>;
    using CPacked = CPackedLayout<P>;
    using CBlocked = CBlockedLayout<P>;
    using CLoops = CSpectrumLoops<P>;
    using CSamples = CSampleLoops<P>;
    return {
        &CPasses::template forward<CPacked>,
        &CPasses::template inverse<CPacked>,
        &CPasses::template forwardHalves<CBlocked>,
        &CPasses::template inverse<CBlocked>,
        &CLoops::mulPacked,
        &CLoops::addProductComplex,
        &CLoops::sumProducts,
        &CLoops::sumRows,
        &CLoops::dotProduct,
        &CSamples::widen,
        &CSamples::narrow,
    };
}

} // namespace lum
