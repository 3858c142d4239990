#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// Tags of the process definitions and modules, except those of the filters. Ends with a null tag.
extern const CCreatorRow kAudioProcessCreators[];

} // namespace lum
