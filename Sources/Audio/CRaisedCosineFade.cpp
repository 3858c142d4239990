#include "Audio/CRaisedCosineFade.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace lum {

void CRaisedCosineFade::start(int length) {
    double theta = std::numbers::pi / (length > 0 ? length : 1);
    factor = 2.0 * std::cos(theta);
    value = 0.5;
    previous = 0.5 * std::sin(std::numbers::pi / 2.0 - theta);
}

void CRaisedCosineFade::mix(double* out, const double* oldSamples, const double* newSamples,
                            int count) noexcept LUM_REALTIME {
    double now = value;
    double before = previous;
    for (int i = 0; i < count; i++) {
        out[i] = (0.5 - now) * newSamples[i] + (0.5 + now) * oldSamples[i];
        double next = factor * now - before;
        before = now;
        now = next;
    }
    value = now;
    previous = before;
}

void CRaisedCosineFade::skip(int count) noexcept LUM_REALTIME {
    for (; count > 0; count--) previous = std::exchange(value, factor * value - previous);
}

} // namespace lum
