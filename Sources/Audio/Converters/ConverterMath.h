#pragma once

#include "Core/CString.h"

namespace lum {

/// Rounds to the nearest integer, halves away from zero, limited to what fits. A NaN gives 0.
int64_t roundToLong(double value) noexcept;

/// The value with `decimals` digits behind the point, from a number of units of the last digit: -5
/// with 2 decimals gives "-0.05". Zero has no sign.
CString fixedPointText(int64_t units, int decimals);

/// Rounds a value to `decimals` digits behind the point; with none it is an integer text.
CString decimalText(double value, int decimals);

} // namespace lum
