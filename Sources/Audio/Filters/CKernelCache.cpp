#include "Audio/Filters/CKernelCache.h"

#include <cstring>

namespace lum {

CKernelCache::CKernelCache(int gains, int length)
    : gainCount(gains),
      kernelLength(length),
      memory(new double[static_cast<size_t>(kRoom) * static_cast<size_t>(gains + length)]) {
    double* place = memory.get();
    for (CEntry& entry : entries) {
        entry.gains = place;
        entry.coefficients = place + gainCount;
        place += gainCount + kernelLength;
    }
}

bool CKernelCache::find(const double* gains, bool isMinPhase, double* coefficients) {
    const size_t gainBytes = static_cast<size_t>(gainCount) * sizeof(double);
    platform::CSpinGuard hold(lock);
    for (CEntry** link = &first; *link; link = &(*link)->next) {
        const CEntry& entry = **link;
        if (entry.isMinPhase != isMinPhase || std::memcmp(entry.gains, gains, gainBytes) != 0)
            continue;
        std::memcpy(coefficients, entry.coefficients,
                    static_cast<size_t>(kernelLength) * sizeof(double));
        moveToFront(link);
        hits.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    return false;
}

void CKernelCache::store(const double* gains, bool isMinPhase, const double* coefficients) {
    platform::CSpinGuard hold(lock);
    CEntry** link = &first;
    if (used < kRoom) {
        CEntry* fresh = &entries[used++];
        fresh->next = first;
        first = fresh;
    } else {
        while ((*link)->next) link = &(*link)->next; // the one that was used longest ago
        moveToFront(link);
    }
    first->isMinPhase = isMinPhase;
    std::memcpy(first->gains, gains, static_cast<size_t>(gainCount) * sizeof(double));
    std::memcpy(first->coefficients, coefficients,
                static_cast<size_t>(kernelLength) * sizeof(double));
}

void CKernelCache::moveToFront(CEntry** link) {
    CEntry* entry = *link;
    *link = entry->next;
    entry->next = first;
    first = entry;
}

} // namespace lum
