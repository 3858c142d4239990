#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// Tags of the classes that stand between engine and host.
extern const CCreatorRow kAudioHostCreators[];

} // namespace lum
