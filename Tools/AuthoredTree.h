#pragma once

#include "CompiledTree.h"

namespace lum::tools {

/// Reads an authored tree. path: for messages. Throws TreeError with file and line of what is
/// wrong.
CompiledNode readAuthoredTree(const std::string& source, const std::string& path);

} // namespace lum::tools
