#pragma once

#include "Other/CImageSet.h"

namespace lum {

/// Puts the plain pixels of layers into atlas pages, appended to `texture`. Layers with runs of
/// their own stay as they are. Pages hold layers of one scale and pixel size.
void buildAtlas(const CVector<CImageLayer*, 0>& layers, CImageTexture& texture,
                const CImageTextureProvider& provider);

} // namespace lum
