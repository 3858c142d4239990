#pragma once

#include "Core/CError.h"

/// What the module knows of itself and the system.
namespace lum::system {

/// Takes the start time and the module's path. Called once by the start-up sequence.
void noteStart();
/// Seconds since the module was loaded.
double secondsSinceLoad();
/// The module's own file with "/" separators, and the part up to and including its last "/".
const CString& getModulePath();
const CString& getModuleDirectory();

/// The last resort: prints the error to the log and shows it to the user with the fixed text. Where
/// no display can be had both texts go to standard error; it never blocks then.
void showError(CErrorResult error);

} // namespace lum::system
