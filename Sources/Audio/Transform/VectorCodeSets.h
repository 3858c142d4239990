#pragma once

#include "Audio/Transform/VectorCode.h"

/// One set of inner loops per instruction set, each made in a file of its own from the shared
/// algorithms that VectorCodeOfPoints.h gathers.
namespace lum {

extern const CVectorCode kVectorCodePlain;
#if defined(__x86_64__)
extern const CVectorCode kVectorCodeAvx2;   // runs only where the processor has AVX2 and FMA
extern const CVectorCode kVectorCodeAvx512; // with AVX-512 F, DQ and VL
#endif

} // namespace lum
