#pragma once

#include "Other/CImageSetObject.h"
#include "Other/CTextMarkup.h"

namespace lum {

/// Finds the images of text by the paths of the tree that an object stands in. A path that leads
/// nowhere there is sought in the shared tree, where the product's image sets are. The object has
/// to outlive this. Interface thread.
class CObjectTextImages : public CTextImageSource {
public:
    explicit CObjectTextImages(const CObject& startObject) : start(startObject) {}
    const CImage* findTextImage(const CString& setPath, const CString& range) override;

private:
    const CObject& start;
};

} // namespace lum
