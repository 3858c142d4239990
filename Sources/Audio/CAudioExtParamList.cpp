#include "Audio/CAudioExtParamList.h"

#include "Audio/CAudioExtParam.h"

namespace lum {

void CAudioExtParamList::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioExtParamList::onChildAdded(CObject* child) {
    LUM_TRY(CObject::onChildAdded(child));
    if (auto* param = dynamic_cast<CAudioExtParam*>(child)) params.push_back(param);
    return nullptr;
}

CErrorResult CAudioExtParamList::onChildRemoved(CObject* child) {
    for (size_t i = 0; i < params.size(); i++)
        if (static_cast<CObject*>(params[i]) == child) {
            params.erase(i);
            break;
        }
    return CObject::onChildRemoved(child);
}

} // namespace lum
