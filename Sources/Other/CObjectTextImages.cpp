#include "Other/CObjectTextImages.h"

namespace lum {

const CImage* CObjectTextImages::findTextImage(const CString& setPath, const CString& range) {
    const auto* object = start.findAs<CImageSetObject>(setPath);
    if (!object) object = start.findAs<CImageSetObject>("shared::" + setPath);
    if (!object) return nullptr;
    const CImageSet& set = object->getImageSet();
    return set.getImage(set.findRange(range));
}

} // namespace lum
