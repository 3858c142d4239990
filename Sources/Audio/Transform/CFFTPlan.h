#pragma once

#include "Core/CError.h"
#include "Core/CLumMemAllocator.h"
#include "Core/Realtime.h"

namespace lum {

struct CTransformTables;

/// A real transform of a power-of-two size with its work buffer; the tables of an order are shared
/// by all its plans. A plan belongs to its holder between acquire and release and is not
/// thread-safe; plans live to the end of the process.
///
/// Packed spectrum of N real samples, in N values: value 0 is bin 0, value 1 is bin N / 2, both
/// real; from value 2 on bins 1 to N / 2 - 1, each as real and imaginary part. Data must be aligned
/// to 16 bytes. Neither direction scales: inverse(forward(x)) gives N * x.
///
/// Blocked spectrum: the same bins in the order in which the transform makes them, blockedSize()
/// values with bin 0 in value 0. Cheaper to make and to multiply (CVectorCode::sumProducts); the
/// convolver keeps its spectra so.
class CFFTPlan : public CLumMemAllocator {
public:
    static constexpr int kMinOrder = 5;
    static constexpr int kMaxOrder = 17; // the convolver's largest is 15

    /// A plan of the order, from the free list or made. Not while a block runs for a first plan.
    static CFFTPlan* acquire(int order);
    static void release(CFFTPlan* plan);
    /// Picks the code for this processor. Start-up, before any plan.
    static CErrorResult initService();
    /// Deletes all free plans and the tables. For the unloading of the module.
    static void finishService();

    int getOrder() const { return order; }
    int getSize() const { return size; }
    double getScale() const { return scale; } // 1 / N
    /// Values of a blocked spectrum of this order: N + 8.
    int blockedSize() const { return size + 8; }

    void forward(double* data) LUM_REALTIME;
    void inverse(double* data) LUM_REALTIME;
    /// lower, upper: [N / 2], the halves of the samples; spectrum: [blockedSize()], another array.
    void forwardBlocked(const double* lower, const double* upper, double* spectrum) LUM_REALTIME;
    /// spectrum: [blockedSize()], kept; samples: [N], another array, of which the lower half gets
    /// the samples and the upper one is scratch.
    void inverseBlocked(const double* spectrum, double* samples) LUM_REALTIME;

private:
    explicit CFFTPlan(int planOrder);
    ~CFFTPlan();

    int order;
    int size;
    double scale;
    CFFTPlan* next = nullptr; // link of the free list
    const CTransformTables* tables;
    void* workMemory;
    double* work; // [N], 64-byte aligned
};

/// out = a * b bin by bin on packed spectra of `size` values. `out` may be `a` or `b`.
void mulPacked(const double* a, const double* b, double* out, int size) LUM_REALTIME;

/// acc[i] += a[i] * b[i] on `count` interleaved complex values.
void addProductComplex(const double* a, const double* b, double* acc, int count) LUM_REALTIME;

} // namespace lum
