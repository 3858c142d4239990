#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// The tags of this room's classes.
extern const CCreatorRow kUICreators[];

} // namespace lum
