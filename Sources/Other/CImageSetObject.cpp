#include "Other/CImageSetObject.h"

namespace lum {

// Read once by init: `file`, the name of the resource that holds the set.

void CImageSetObject::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CImageSetObject::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(imageSet->loadFromResource(getAttrString("file")));
    return nullptr;
}

} // namespace lum
