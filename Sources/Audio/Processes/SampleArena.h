#pragma once

#include "Audio/CSampleBlock.h"

namespace lum {

/// Lays arrays out behind each other in one sample block, each on a boundary of 64 bytes. The same
/// function lays out twice: first without memory, to learn the size, then for good.
class CSampleArena {
public:
    explicit CSampleArena(double* start) : base(start) {}

    /// An array of values; null in the first round.
    double* values(int count) {
        double* place = base ? base + used : nullptr;
        used += (count + kStep - 1) / kStep * kStep;
        return place;
    }
    /// An array of pointers to values; null in the first round.
    double** pointers(int count) {
        static_assert(sizeof(double*) <= sizeof(double));
        void* place = values(count);
        return place ? new (place) double*[static_cast<size_t>(count)] : nullptr;
    }
    int size() const { return used; } // values

private:
    static constexpr int kStep = 8; // values in 64 bytes
    double* base;
    int used = 0;
};

/// A block for everything that layOut(CSampleArena&) asks for.
template <class LayOut>
CSampleBlockRef takeArena(CSampleBlockPool& pool, LayOut layOut) {
    CSampleArena measure(nullptr);
    layOut(measure);
    CSampleBlockRef block = pool.take(measure.size());
    CSampleArena arena(block.samples());
    layOut(arena);
    return block;
}

} // namespace lum
