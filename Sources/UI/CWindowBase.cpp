#include "UI/CWindowBase.h"

namespace lum {

CWindowBase* findWindow(const CObject& object) {
    for (const CObject* place = &object; place; place = place->getParent())
        if (auto* window = dynamic_cast<const CWindowBase*>(place))
            return const_cast<CWindowBase*>(window);
    return nullptr;
}

CWindowSharedBase* findWindowShared(const CObject& object) {
    if (CWindowBase* window = findWindow(object)) return &window->shared();
    return dynamic_cast<CWindowSharedBase*>(object.findObject("ui.window-shared-data"));
}

} // namespace lum
