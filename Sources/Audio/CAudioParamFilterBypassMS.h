#pragma once

#include "Audio/CAudioParamFilter.h"

namespace lum {

/// 0.0 for a group in which a pair id stands on two or more elements, else 1.0.
class CAudioParamFilterBypassMS : public CAudioParamFilter {
protected:
    void process(const CParamList& from, const CParamList& to, const CAudioParamChange& change,
                 const CChangeContext& context) override;
};

class CAudioParamFilterBypassMSDef : public CAudioParamFilterDef {
public:
    std::unique_ptr<CAudioParamFilter> createFilter() const override;
};

} // namespace lum
