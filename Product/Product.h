#pragma once

#include "Core/CResourceReader.h"

namespace lum {

/// The embedded files of the product, under the names by which product data asks for them. The
/// build makes the table; a null row ends it.
extern const CResourceRow kProductResources[];

} // namespace lum
