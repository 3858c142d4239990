#pragma once

#include "Core/CLumMemAllocator.h"
#include "Core/Realtime.h"
#include "Platform/Lock.h"

#include <atomic>
#include <memory>

namespace lum {

/// The last kernels of a design table, at most 16, most recently used first. All memory is taken at
/// construction. Any thread; the lock is held for a comparison and a copy.
class CKernelCache {
public:
    CKernelCache(int gainCount, int kernelLength);

    /// Copies a kernel out if one with exactly these gains is kept. gains: [gainCount];
    /// coefficients: [kernelLength].
    bool find(const double* gains, bool isMinPhase, double* coefficients) LUM_REALTIME;
    void store(const double* gains, bool isMinPhase, const double* coefficients) LUM_REALTIME;
    int getHits() const { return hits.load(std::memory_order_relaxed); }

private:
    static constexpr int kRoom = 16;
    struct CEntry {
        bool isMinPhase = false;
        double* gains = nullptr;
        double* coefficients = nullptr;
        CEntry* next = nullptr;
    };
    void moveToFront(CEntry** link);

    platform::CSpinLock lock;
    int gainCount;
    int kernelLength;
    std::unique_ptr<double[]> memory; // [kRoom][gainCount + kernelLength]
    CEntry entries[kRoom];
    CEntry* first = nullptr;
    int used = 0;
    std::atomic<int> hits{0};
};

} // namespace lum
