#pragma once

#include "Core/CObject.h"

namespace lum {

class CAppData;
class CAudioParamCollector;

/// `audio:param-shared-storage`: keeps a parameter equal to a record of a data store, in all
/// instances of the process.
class CAudioParamSharedStorage : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    /// Makes the live link of one instance and gives it to the collector. The parameter should be
    /// bound already. processName: full name of the process, which `paramName` is relative to.
    void instantiate(CAudioParamCollector& collector, const CString& processName) const;

    CString paramName;
    CString dataName;
    CAppData* store = nullptr;
};

} // namespace lum
