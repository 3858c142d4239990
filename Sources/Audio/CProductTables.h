#pragma once

#include "Core/CApplication.h"

namespace lum {

/// What the start-up sequence needs of an audio product: all classes of this code, the transform
/// service, and the embedded files that the caller carries.
CProductTables makeProductTables(const CResourceRow* resources);

} // namespace lum
