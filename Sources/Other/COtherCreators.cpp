#include "Other/COtherCreators.h"

#include "Other/CDynamicPalette.h"
#include "Other/CFontObject.h"
#include "Other/CImageSetObject.h"
#include "Other/CStyle.h"

namespace lum {

const CCreatorRow kOtherCreators[] = {
    creatorRow<CFontObject>("font"),
    creatorRow<CImageSetObject>("imageset"),
    creatorRow<CDynamicColor>("ui:dynamic-color"),
    creatorRow<CDynamicPalette>("ui:dynamic-palette"),
    creatorRow<CStyle>("ui:style"),
    {nullptr, nullptr, nullptr},
};

} // namespace lum
