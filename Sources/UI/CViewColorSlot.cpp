#include "UI/CViewColorSlot.h"

#include "UI/CViewBase.h"

namespace lum {

// Read once: `slot-index`, `color`, and `is-color-abs-path`, which makes `color` a whole name.
CErrorResult CViewColorSlot::initContent() {
    LUM_TRY(CObject::initContent());
    auto* view = dynamic_cast<CViewBase*>(getParent());
    if (!view) return LUM_FAIL("@lumstr_CViewColorSlot_init_NoView Parent object is not a view.");
    const CString name = getAttrString("color");
    view->setColorSlot(getAttrInt("slot-index"),
                       getAttrBool("is-color-abs-path") ? CString("/") + name : name);
    return nullptr;
}

} // namespace lum
