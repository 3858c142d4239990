#pragma once

#include "Audio/CAudioProcessDef.h"

namespace lum {

/// Wraps a process so that each band of a crossover has an instance of its own. The definition's
/// attributes are checked; no product tree asks for the splitter itself, so init then fails.
// FIXME: the band splitter is missing; a definition with is-multiband needs it.
class CAudioProcessMB : public CAudioProcessBase {
public:
    CErrorResult init() override;

private:
    CErrorResult checkFilterDef(const char* attribute);
};

} // namespace lum
