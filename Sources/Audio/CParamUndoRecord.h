#pragma once

#include "Audio/CAudioParamStorage.h"

namespace lum {

/// Where a parameter records what a change did to it: whole groups, before and after the write.
/// Called under the parameter's guard, by control threads.
class CParamUndoRecord : public virtual CCheckedObject {
public:
    /// Before a write of a group. The first call for a parameter and group counts, later ones do
    /// nothing. forceEmpty: records no elements, whatever the storage holds.
    virtual void recordBefore(const CString& paramName, int group,
                              const CAudioParamStorage& storage, bool forceEmpty) = 0;
    /// After each write of a group: replaces the after state.
    virtual void recordAfter(const CString& paramName, int group,
                             const CAudioParamStorage& storage) = 0;
};

} // namespace lum
