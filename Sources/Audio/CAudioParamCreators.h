#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// Tags of definitions, converters and the collector; ended by a null tag.
extern const CCreatorRow kAudioParamCreators[];

} // namespace lum
