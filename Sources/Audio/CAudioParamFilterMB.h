#pragma once

#include "Audio/CAudioParamFilter.h"

namespace lum {

/// Centre frequencies of the bands, in Hz, from the band description. Sources: band count (or, with
/// `is-iso` of the definition, index of a spacing), lowest and highest frequency, mode. Destination
/// 0 receives the list, destination 3 its length; 1 and 2 receive nothing.
class CAudioParamFilterMB : public CAudioParamFilter {
protected:
    void process(const CParamList& from, const CParamList& to, const CAudioParamChange& change,
                 const CChangeContext& context) override;
};

class CAudioParamFilterMBDef : public CAudioParamFilterDef {
public:
    std::unique_ptr<CAudioParamFilter> createFilter() const override;
};

} // namespace lum
