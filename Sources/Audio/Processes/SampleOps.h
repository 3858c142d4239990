#pragma once

#include "Core/Realtime.h"

/// The inner loops of the small processes: plain functions on plain arrays of `count` samples.
/// No array overlaps another unless the function says so.
namespace lum::ops {

void copy(double* out, const double* in, int count) noexcept LUM_REALTIME;
void fill(double* out, double value, int count) noexcept LUM_REALTIME;
/// out[i] = in[i] * factor; out may be in.
void scale(double* out, const double* in, double factor, int count) noexcept LUM_REALTIME;
/// out[i] = the sum of all sources at i, taken in order.
void sum(double* out, const double* const* sources, int sourceCount,
         int count) noexcept LUM_REALTIME;
/// out[i] = the largest of all sources at i.
void maximum(double* out, const double* const* sources, int sourceCount,
             int count) noexcept LUM_REALTIME;
/// mid = (a + b) / 2, side = (a - b) / 2.
void encodeMidSide(double* mid, double* side, const double* a, const double* b,
                   int count) noexcept LUM_REALTIME;
/// left = a + b, right = a - b.
void decodeMidSide(double* left, double* right, const double* a, const double* b,
                   int count) noexcept LUM_REALTIME;

} // namespace lum::ops
