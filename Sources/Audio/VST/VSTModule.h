#pragma once

#include "Core/CError.h"

namespace lum::vst {

/// Why the module could not start when it was loaded; null when it did. The caller shows it: a
/// module that failed to load would take a host's scanner by surprise.
CErrorResult loadFailure();

} // namespace lum::vst
