#pragma once

#include "Core/CObject.h"

namespace lum {

class CAudioExtParam;

/// `audio:ext-param-list`: the parameters that the host sees, in the order of their declaration,
/// which is the host's numbering.
class CAudioExtParamList : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult onChildAdded(CObject* child) override;
    CErrorResult onChildRemoved(CObject* child) override;

    int getCount() const { return params.ssize(); }
    /// Null when there is no such index. Any thread.
    CAudioExtParam* getParam(int index) const {
        return index >= 0 && index < getCount() ? params[index] : nullptr;
    }

private:
    CVector<CAudioExtParam*, 0> params;
};

} // namespace lum
