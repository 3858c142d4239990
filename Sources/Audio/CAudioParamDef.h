#pragma once

#include "Audio/CAudioParamInfo.h"
#include "Core/CObject.h"

namespace lum {

/// `audio:param`: the declaration of a parameter, shared by all instances.
class CAudioParamDef : public CObject {
public:
    static void fillClass(CClassInfo& classInfo);
    CErrorResult init() override;
    const CAudioParamInfo& getInfo() const { return info; }

private:
    CErrorResult readFormat();
    void readFlags();

    CAudioParamInfo info;
};

/// `audio:param-alloc`: a process uses a parameter by name at a numeric slot.
class CAudioParamAllocDef : public CObject {
public:
    static void fillClass(CClassInfo& classInfo);
    CErrorResult init() override;

    CString paramName;
    int index = 0;
    bool useAllGroups = false;
    bool useAllElements = false;
    bool isSmoothUpdate = false;
};

} // namespace lum
