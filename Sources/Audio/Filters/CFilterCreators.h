#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// Tags of the filter generators and of the FIR filter process. Ends with a null tag.
extern const CCreatorRow kFilterCreators[];

} // namespace lum
