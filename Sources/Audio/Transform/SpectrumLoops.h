#pragma once

#include "Audio/Transform/TransformPoints.h"

#include <algorithm>

/// Spectrum products and weighted sums, written once for any type P of four complex points, as the
/// passes of TransformPasses.h are. P::Reals is its vector of real values, of 4 or 8 lanes.
namespace lum {

template <class P>
struct CSpectrumLoops {
    using V = typename P::Reals;

    /// Products of interleaved complex values, four at a time; the tail goes value by value.
    template <bool isAdding>
    static void productPairs(const double* a, const double* b, double* out, int count) {
        int i = 0;
        for (; i + 4 <= count; i += 4, a += 8, b += 8, out += 8) {
            P product = P::loadPairs(a).template times<Turn::Forward>(P::loadPairs(b).asRoots());
            if constexpr (isAdding) product = product + P::loadPairs(out);
            product.storePairs(out);
        }
        for (; i < count; i++, a += 2, b += 2, out += 2) {
            const double re = a[0] * b[0] - a[1] * b[1];
            const double im = a[0] * b[1] + a[1] * b[0];
            out[0] = isAdding ? out[0] + re : re;
            out[1] = isAdding ? out[1] + im : im;
        }
    }
    static void mulPacked(const double* a, const double* b, double* out, int size) {
        const double dc = a[0] * b[0];
        const double nyquist = a[1] * b[1];
        productPairs<false>(a, b, out, size / 2);
        out[0] = dc;
        out[1] = nyquist;
    }
    static void addProductComplex(const double* a, const double* b, double* acc, int count) {
        productPairs<true>(a, b, acc, count);
    }

    /// Some blocks at a time with all pairs summed in registers: eight independent chains hide the
    /// latency of the multiply-adds, and a sum is written once instead of once per pair.
    [[gnu::flatten]] static void sumProducts(const double* const* a, const double* const* b,
                                             int count, double* out, int size) {
        constexpr int kStep = 8 * P::kSumsAtOnce;
        int i = 0;
        for (; i + kStep <= size; i += kStep) sumBlocks<P::kSumsAtOnce>(a, b, count, out, i);
        for (; i < size; i += 8) sumBlocks<1>(a, b, count, out, i);
    }
    template <int Blocks>
    static void sumBlocks(const double* const* a, const double* const* b, int count, double* out,
                          int at) {
        typename P::CProductSum sums[Blocks];
#pragma GCC unroll 4
        for (int n = 0; n < Blocks; n++) sums[n] = P::CProductSum::zero();
        for (int j = 0; j < count; j++) {
            const double* x = a[j] + at;
            const double* y = b[j] + at;
#pragma GCC unroll 4
            for (int n = 0; n < Blocks; n++) sums[n].add(x, y, 8 * n);
        }
#pragma GCC unroll 4
        for (int n = 0; n < Blocks; n++) sums[n].store(out + at + 8 * n);
    }

    /// Eight rows at a time, so that a sum is read and written once for eight products. The first
    /// ones set the sums.
    static void sumRows(const double* rows, int stride, const double* weights, int rowCount,
                        double* sums, int count) {
        if (rowCount < 8) std::fill_n(sums, count, 0.0);
        int r = 0;
        for (; r + 8 <= rowCount; r += 8) {
            const auto step = r == 0 ? &addSomeRows<8, false> : &addSomeRows<8, true>;
            step(rows + r * stride, stride, weights + r, sums, count);
        }
        for (; r < rowCount; r++)
            addSomeRows<1, true>(rows + r * stride, stride, weights + r, sums, count);
    }
    template <int Rows, bool IsAdding>
    static void addSomeRows(const double* rows, int stride, const double* weights, double* sums,
                            int count) {
        constexpr int kVectors = 8 / V::kLanes; // in eight values
        V w[Rows];
        for (int r = 0; r < Rows; r++) w[r] = V::broadcast(weights[r]);
        int t = 0;
        for (; t + 8 <= count; t += 8) {
            V sum[kVectors];
            for (int n = 0; n < kVectors; n++)
                sum[n] = IsAdding ? V::load(sums + t + n * V::kLanes) : V::broadcast(0.0);
            for (int r = 0; r < Rows; r++)
                for (int n = 0; n < kVectors; n++)
                    sum[n] = mulAdd(w[r], V::load(rows + r * stride + t + n * V::kLanes), sum[n]);
            for (int n = 0; n < kVectors; n++) sum[n].store(sums + t + n * V::kLanes);
        }
        for (; t < count; t++) {
            if (!IsAdding) sums[t] = 0.0;
            for (int r = 0; r < Rows; r++) sums[t] += weights[r] * rows[r * stride + t];
        }
    }

    static double dotProduct(const double* a, const double* b, int count) {
        constexpr int kVectors = 16 / V::kLanes; // in sixteen values
        V sums[kVectors];
        for (V& sum : sums) sum = V::broadcast(0.0);
        int i = 0;
        for (; i + 16 <= count; i += 16)
            for (int n = 0; n < kVectors; n++)
                sums[n] =
                    mulAdd(V::load(a + i + n * V::kLanes), V::load(b + i + n * V::kLanes), sums[n]);
        V sum = sums[0] + sums[1];
        if constexpr (kVectors == 4) sum = sum + (sums[2] + sums[3]);
        double total = sum.sumOfLanes();
        for (; i < count; i++) total += a[i] * b[i];
        return total;
    }
};

} // namespace lum
