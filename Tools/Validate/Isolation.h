/// Runs a check in a process of its own.
#pragma once

#include "Validate/Check.h"

#include <cstdint>

namespace lum::validate {

/// What became of a check, and what its process wrote.
struct IsolatedRun {
    Outcome outcome;
    std::int64_t outputBytes = 0; // on standard output, where a plug-in has no business
    std::string errorTail;        // the last of standard error
    double seconds = 0.0;
};

/// Forks, runs the check there with the scratch folder as home and working folder and without a
/// display, and ends it after `limit` seconds. A crash, a hang and a thrown failure are failed
/// outcomes. The calling process has one thread.
IsolatedRun runIsolated(const Check& check, const Task& task, int limit);

} // namespace lum::validate
