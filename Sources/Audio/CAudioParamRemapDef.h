#pragma once

#include "Core/CObject.h"

namespace lum {

/// `audio:param-remap`: joins names of a process to parameters elsewhere. Control threads, at load.
class CAudioParamRemapDef : public CObject {
public:
    struct CPair {
        CString original;    // the name as the process knows it
        CString replacement; // both relative to the process
    };

    static void fillClass(CClassInfo& info);
    /// Reads `orig` and `new`. The pairs of the children are added by initDone.
    CErrorResult init() override;
    CErrorResult initDone() override;

    CVector<CPair> pairs;

private:
    CErrorResult addStatements(const CString& text);
};

} // namespace lum
