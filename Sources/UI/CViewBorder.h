#pragma once

#include "Core/CString.h"

namespace lum {

/// Four widths in interface units: an inner or outer border, a spread or a crop.
struct CViewBorder {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
    friend bool operator==(const CViewBorder&, const CViewBorder&) = default;

    /// Reads tokens such as "LR5 TB3" or "0 *LT-0.9": letters name sides, none means all, "*" adds.
    /// Malformed text is logged; the tokens before the fault hold. False: there was a fault.
    bool parse(const CString& text);
};

} // namespace lum
