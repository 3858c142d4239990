#pragma once

#include <algorithm>

/// Spectrum products and weighted sums, written once for any type V of four lanes, as the passes of
/// TransformPasses.h are.
namespace lum {

template <class V>
struct CSpectrumLoops {
    /// Products of interleaved complex values, four at a time; the tail goes value by value.
    template <bool isAdding>
    static void productPairs(const double* a, const double* b, double* out, int count) {
        int i = 0;
        for (; i + 4 <= count; i += 4, a += 8, b += 8, out += 8) {
            V ar, ai, br, bi;
            V::loadPairs(a, ar, ai);
            V::loadPairs(b, br, bi);
            V re = mulSub(ar, br, ai * bi);
            V im = mulAdd(ar, bi, ai * br);
            if constexpr (isAdding) {
                V oldRe, oldIm;
                V::loadPairs(out, oldRe, oldIm);
                re = re + oldRe;
                im = im + oldIm;
            }
            V::storePairs(out, re, im);
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

    /// Two blocks at a time with all pairs summed in registers: eight independent chains hide the
    /// latency of the multiply-adds, and a sum is written once instead of once per pair. Two loads
    /// a cycle are the limit, so every value is loaded once and no more.
    static void sumProducts(const double* const* a, const double* const* b, int count, double* out,
                            int size) {
        int i = 0;
        for (; i + 16 <= size; i += 16) sumBlocks<2>(a, b, count, out, i);
        for (; i < size; i += 8) sumBlocks<1>(a, b, count, out, i);
    }
    template <int Blocks>
    static void sumBlocks(const double* const* a, const double* const* b, int count, double* out,
                          int at) {
        const V zero = V::broadcast(0.0);
        V rr[Blocks], ii[Blocks], ri[Blocks], ir[Blocks];
        for (int n = 0; n < Blocks; n++) rr[n] = ii[n] = ri[n] = ir[n] = zero;
        for (int j = 0; j < count; j++) {
            const double* x = a[j] + at;
            const double* y = b[j] + at;
            for (int n = 0; n < Blocks; n++) {
                const V xr = V::loadOnce(x + 8 * n), xi = V::loadOnce(x + 8 * n + 4);
                const V yr = V::loadOnce(y + 8 * n), yi = V::loadOnce(y + 8 * n + 4);
                rr[n] = mulAdd(xr, yr, rr[n]);
                ii[n] = mulAdd(xi, yi, ii[n]);
                ri[n] = mulAdd(xr, yi, ri[n]);
                ir[n] = mulAdd(xi, yr, ir[n]);
            }
        }
        for (int n = 0; n < Blocks; n++) {
            (rr[n] - ii[n]).store(out + at + 8 * n);
            (ri[n] + ir[n]).store(out + at + 8 * n + 4);
        }
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
        V w[Rows];
        for (int r = 0; r < Rows; r++) w[r] = V::broadcast(weights[r]);
        int t = 0;
        for (; t + 8 <= count; t += 8) { // two chains, as each waits for its last product
            V first = IsAdding ? V::load(sums + t) : V::broadcast(0.0);
            V second = IsAdding ? V::load(sums + t + 4) : V::broadcast(0.0);
            for (int r = 0; r < Rows; r++) {
                first = mulAdd(w[r], V::load(rows + r * stride + t), first);
                second = mulAdd(w[r], V::load(rows + r * stride + t + 4), second);
            }
            first.store(sums + t);
            second.store(sums + t + 4);
        }
        for (; t < count; t++) {
            if (!IsAdding) sums[t] = 0.0;
            for (int r = 0; r < Rows; r++) sums[t] += weights[r] * rows[r * stride + t];
        }
    }

    static double dotProduct(const double* a, const double* b, int count) {
        V sums[4];
        for (V& sum : sums) sum = V::broadcast(0.0);
        int i = 0;
        for (; i + 16 <= count; i += 16)
            for (int n = 0; n < 4; n++)
                sums[n] = mulAdd(V::load(a + i + 4 * n), V::load(b + i + 4 * n), sums[n]);
        alignas(32) double lanes[4];
        ((sums[0] + sums[1]) + (sums[2] + sums[3])).store(lanes);
        double total = (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]);
        for (; i < count; i++) total += a[i] * b[i];
        return total;
    }
};

} // namespace lum
