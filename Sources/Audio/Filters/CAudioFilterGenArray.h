#pragma once

#include "Audio/Filters/CAudioFilterGen.h"

namespace lum {

/// `audio:fltgen-array`: generators by index, declared by its items. Filled at load, then
/// read-only.
class CAudioFilterGenArray : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;
    /// Null for an index outside the array and for a gap.
    const CAudioFilterGen* getGen(int index) const LUM_REALTIME;

private:
    CVector<const CAudioFilterGen*, 4> gens;
};

/// `audio:fltgen-array-item`: one entry, `index` and the path `fltgen`.
class CAudioFilterGenArrayItem : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult initDone() override;

    int getIndex() const { return index; }
    const CAudioFilterGen* getGen() const { return gen; }

private:
    int index = 0;
    CAudioFilterGen* gen = nullptr;
};

} // namespace lum
