#pragma once

#include "Core/CError.h"
#include "Core/CLumMemAllocator.h"
#include "Core/Realtime.h"

namespace lum {

/// A real transform of a power-of-two size with its tables and work buffer. A plan belongs to its
/// holder between acquire and release and is not thread-safe; plans live to the end of the process.
///
/// Packed spectrum of N real samples, in N values: value 0 is bin 0, value 1 is bin N / 2, both
/// real; from value 2 on bins 1 to N / 2 - 1, each as real and imaginary part. Data must be aligned
/// to 16 bytes. Neither direction scales: inverse(forward(x)) gives N * x.
class CFFTPlan : public CLumMemAllocator {
public:
    static constexpr int kMinOrder = 5;
    static constexpr int kMaxOrder = 15;

    /// A plan of the order, from the free list or made. Not while a block runs for a first plan.
    static CFFTPlan* acquire(int order);
    static void release(CFFTPlan* plan);
    /// Picks the code for this processor. Start-up, before any plan.
    static CErrorResult initService();
    /// Deletes all free plans. For the unloading of the module.
    static void finishService();

    int getOrder() const { return order; }
    int getSize() const { return size; }
    double getScale() const { return scale; } // 1 / N

    void forward(double* data) LUM_REALTIME;
    void inverse(double* data) LUM_REALTIME;

private:
    struct CImpl;
    explicit CFFTPlan(int planOrder);
    ~CFFTPlan();

    int order;
    int size;
    double scale;
    CFFTPlan* next = nullptr;
    CImpl* impl = nullptr;
};

/// out = a * b bin by bin on packed spectra of `size` values. `out` may be `a` or `b`.
void mulPacked(const double* a, const double* b, double* out, int size) LUM_REALTIME;

/// acc[i] += a[i] * b[i] on `count` interleaved complex values.
void addProductComplex(const double* a, const double* b, double* acc, int count) LUM_REALTIME;

} // namespace lum
