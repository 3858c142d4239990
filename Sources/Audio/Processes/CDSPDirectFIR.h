#pragma once

#include "Audio/CSampleBlock.h"

namespace lum {

/// A short filter in the time domain, without delay: the head of a zero-latency convolution. Audio
/// thread.
class CDSPDirectFIR : public CLumMemAllocator {
public:
    enum class Output { Copy, Add };

    /// taps: [count], at least 1, copied.
    CDSPDirectFIR(CSampleBlockPool& pool, const double* taps, int count);

    int getLength() const { return length; }
    /// Takes other taps, [getLength()] of them, and forgets the past.
    void setTaps(const double* taps) LUM_REALTIME;
    /// Goes on where a filter of the same length is.
    void takeHistory(const CDSPDirectFIR& other) LUM_REALTIME;
    /// Forgets the past at the next sample, whose value then counts as the constant past.
    void requestReset() { needsReset = true; }
    /// in, out: [count] samples; a count of 0 changes nothing.
    void process(const double* in, double* out, int count, Output output) LUM_REALTIME;

private:
    bool needsReset = true;
    int length; // taps
    int position = 0;
    CSampleBlockRef coefficients; // [length]
    CSampleBlockRef buffer;       // [2 * length]: the last samples, newest first, twice in a row
};

} // namespace lum
