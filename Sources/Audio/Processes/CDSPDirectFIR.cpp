#include "Audio/Processes/CDSPDirectFIR.h"

#include "Audio/Transform/VectorCode.h"

#include <algorithm>

namespace lum {

CDSPDirectFIR::CDSPDirectFIR(CSampleBlockPool& pool, const double* taps, int count)
    : length(count), coefficients(pool.take(count)), buffer(pool.take(2 * count)) {
    setTaps(taps);
}

void CDSPDirectFIR::setTaps(const double* taps) {
    std::copy_n(taps, length, coefficients.samples());
    needsReset = true;
}

void CDSPDirectFIR::takeHistory(const CDSPDirectFIR& other) {
    needsReset = other.needsReset;
    position = other.position;
    std::copy_n(other.buffer.samples(), 2 * length, buffer.samples());
}

void CDSPDirectFIR::process(const double* in, double* out, int count, Output output) {
    if (count <= 0) return;
    double* samples = buffer.samples();
    if (needsReset) {
        std::fill_n(samples, 2 * length, in[0]);
        position = length - 1;
        needsReset = false;
    }
    const CVectorCode& code = vectorCode();
    for (int i = 0; i < count; i++) {
        samples[position] = samples[position + length] = in[i];
        const double value = code.dotProduct(samples + position, coefficients.samples(), length);
        out[i] = output == Output::Add ? out[i] + value : value;
        position = position == 0 ? length - 1 : position - 1;
    }
}

} // namespace lum
