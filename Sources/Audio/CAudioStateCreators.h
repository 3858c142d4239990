#pragma once

#include "Core/CClassInfo.h"

namespace lum {

/// Tags of the registries, the parameter interface and the visual channel.
extern const CCreatorRow kAudioStateCreators[];

} // namespace lum
