#pragma once

#include "Audio/CAudioParamFilter.h"

namespace lum {

/// 1.0 while no group of the source is switched on, else 0.0.
class CAudioParamFilterBypassGroupSolo : public CAudioParamFilter {
protected:
    void process(const CParamList& from, const CParamList& to, const CAudioParamChange& change,
                 const CChangeContext& context) override;
};

class CAudioParamFilterBypassGroupSoloDef : public CAudioParamFilterDef {
public:
    std::unique_ptr<CAudioParamFilter> createFilter() const override;
};

} // namespace lum
