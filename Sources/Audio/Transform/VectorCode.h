#pragma once

#include "Core/Realtime.h"
#include "Platform/CpuFeatures.h"

namespace lum {

struct CTransformTables;

/// The inner loops of the engine for one instruction set. Plain functions on plain arrays: no
/// state, no allocation, any thread. All arrays are 64-bit floats.
///
/// A packed spectrum is described at CFFTPlan. A blocked spectrum holds the same bins as groups of
/// four real and then four imaginary parts, in the order in which the last pass of the transform
/// makes them, N + 8 values in all; value 0 is bin 0. Only spectra of one order go together.
struct CVectorCode {
    // Transforms: `in` may be `out`; `work` is scratch of N values. Nothing is scaled.
    void (*forward)(const CTransformTables& tables, const double* in, double* out, double* work);
    void (*inverse)(const CTransformTables& tables, const double* in, double* out, double* work);
    /// lower, upper: the halves of the samples.
    void (*forwardBlocked)(const CTransformTables& tables, const double* lower, const double* upper,
                           double* out, double* work);
    /// Makes the lower half of the samples; the upper half of `out` is scratch.
    void (*inverseBlocked)(const CTransformTables& tables, const double* in, double* out,
                           double* work);

    // Spectrum products. Packed: see CFFTPlan.h.
    void (*mulPacked)(const double* a, const double* b, double* out, int size);
    void (*addProductComplex)(const double* a, const double* b, double* acc, int count);
    /// out = sum over j of a[j] * b[j], `count` pairs of blocked spectra of `size` values.
    void (*sumProducts)(const double* const* a, const double* const* b, int count, double* out,
                        int size);

    /// sums[t] = the sum over r of weights[r] * rows[r * stride + t], `rowCount` rows in ascending
    /// order, t from 0 to `count` - 1. With counts that are multiples of 8 a sum has the same bits
    /// however the range of t is divided.
    void (*sumRows)(const double* rows, int stride, const double* weights, int rowCount,
                    double* sums, int count);
    /// Scalar product of two arrays of `count` values.
    double (*dotProduct)(const double* a, const double* b, int count);

    // A host's samples of 32 bits to ours, and back with the rounding mode of the thread.
    void (*widen)(const float* in, double* out, int count);
    void (*narrow)(const double* in, float* out, int count);
};

/// The code that the engine uses: picked once by the processor, see CFFTPlan::initService.
const CVectorCode& vectorCode() noexcept LUM_REALTIME;
/// The code of a level; of the next lower one where a level has none of its own.
const CVectorCode& vectorCodeOf(platform::CpuLevel level) noexcept;
/// Replaces the code in use. For tests and benchmarks, while nothing is processed.
void selectVectorCode(platform::CpuLevel level) noexcept;

} // namespace lum
