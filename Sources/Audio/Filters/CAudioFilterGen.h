#pragma once

#include "Audio/CSampleBlock.h"
#include "Core/CObject.h"

namespace lum {

/// One finished kernel.
struct CFilterKernelItem {
    CSampleBlockRef kernel;
    int length = 0; // coefficients
};

/// Collects the results of one or more generations.
struct CFilterGenContext {
    int latency = 0; // samples by which the kernels delay
    CVector<CFilterKernelItem, 4> items;
};

/// What a generator reads: named values, and the points of up to three curves one behind the other.
struct CFilterGenSettings {
    const CMap<CString, int>& names; // setting name to index into `values`
    const double* values;
    const double* points;
    int pointValueCount; // values that `points` holds

    /// Null: no setting of that name.
    const double* find(const char* name) const LUM_REALTIME {
        const auto found = names.find(CString(name));
        return found == names.end() ? nullptr : values + found->second;
    }
};

/// Generator of filter kernels: an immutable node of the shared tree, used by all instances.
class CAudioFilterGen : public CObject {
public:
    static void fillClass(CClassInfo& info) { CObject::fillClass(info); }

    /// Appends kernels to the context and adds their latency; appends nothing when a setting that
    /// it needs is missing. Memory comes from the block pool. Audio thread or set-up.
    virtual void generate(CFilterGenContext& context, double sampleRate,
                          const CFilterGenSettings& settings,
                          CSampleBlockPool& blockPool) const LUM_REALTIME = 0;
};

} // namespace lum
