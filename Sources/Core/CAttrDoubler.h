#pragma once

#include "Core/CObject.h"

namespace lum {

/// `core:attr-doubler`: hands each change of its attribute `value` on to one attribute of several
/// objects. Its targets have to exist before it and to outlive its last change.
class CAttrDoubler : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    CErrorResult attrValue(const CAttrEntry& value);

private:
    CVector<CObject*> targets;
};

} // namespace lum
