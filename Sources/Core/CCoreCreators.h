#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// The tags of this room's classes, and those that make plain objects on purpose.
extern const CCreatorRow kCoreCreators[];

} // namespace lum
