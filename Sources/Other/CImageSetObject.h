#pragma once

#include "Core/CObject.h"
#include "Other/CImageSet.h"

namespace lum {

/// `imageset`: the node under which views find an image set, by a path such as "shared::is.button".
/// Owns the set, which is read-only after `init`.
class CImageSetObject : public CObject {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;

    const CImageSet& getImageSet() const { return *imageSet; }

private:
    std::unique_ptr<CImageSet> imageSet = std::make_unique<CImageSet>();
};

} // namespace lum
