#include "Audio/Filters/CAudioFilterGenArray.h"

namespace lum {

void CAudioFilterGenArray::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

/// The children are done before their parent, so every item knows its generator by now.
CErrorResult CAudioFilterGenArray::initDone() {
    LUM_TRY(CObject::initDone());
    for (CObject* child : getChildren()) {
        auto* item = dynamic_cast<CAudioFilterGenArrayItem*>(child);
        if (!item || item->getIndex() < 0) continue;
        if (item->getIndex() >= gens.ssize())
            gens.resize(static_cast<size_t>(item->getIndex()) + 1, nullptr);
        gens[item->getIndex()] = item->getGen();
    }
    return nullptr;
}

const CAudioFilterGen* CAudioFilterGenArray::getGen(int index) const {
    return index >= 0 && index < gens.ssize() ? gens[index] : nullptr;
}

void CAudioFilterGenArrayItem::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioFilterGenArrayItem::initDone() {
    LUM_TRY(CObject::initDone());
    if (!dynamic_cast<CAudioFilterGenArray*>(getParent()))
        return LUM_FAIL("@lumstr_CAudioFilterGenArrayItem_initDone_Parent "
                        "CAudioFilterGenArray class parent expected.");
    index = getAttrInt("index");
    LUM_TRY(findObjectByAttr(gen, "fltgen"));
    return nullptr;
}

} // namespace lum
