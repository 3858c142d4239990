#include "Audio/Processes/SampleOps.h"

#include <algorithm>
#include <cstring>

namespace lum::ops {

void copy(double* out, const double* in, int count) noexcept LUM_REALTIME {
    if (out != in && count > 0) std::memcpy(out, in, static_cast<size_t>(count) * sizeof(double));
}

void fill(double* out, double value, int count) noexcept LUM_REALTIME {
    std::fill_n(out, count, value);
}

void scale(double* out, const double* in, double factor, int count) noexcept LUM_REALTIME {
    for (int i = 0; i < count; i++) out[i] = in[i] * factor;
}

void sum(double* out, const double* const* sources, int sourceCount,
         int count) noexcept LUM_REALTIME {
    const double* first = sources[0];
    if (sourceCount == 1) return copy(out, first, count);
    const double* second = sources[1];
    int next = 2;
    if (sourceCount == 2) {
        for (int i = 0; i < count; i++) out[i] = first[i] + second[i];
        return;
    }
    const double* third = sources[next++];
    for (int i = 0; i < count; i++) out[i] = first[i] + second[i] + third[i];
    for (; next + 1 < sourceCount; next += 2) { // `out` counts as the first of three
        second = sources[next];
        third = sources[next + 1];
        for (int i = 0; i < count; i++) out[i] = out[i] + second[i] + third[i];
    }
    if (next == sourceCount) return;
    const double* last = sources[next];
    for (int i = 0; i < count; i++) out[i] += last[i];
}

void maximum(double* out, const double* const* sources, int sourceCount,
             int count) noexcept LUM_REALTIME {
    copy(out, sources[0], count);
    for (int s = 1; s < sourceCount; s++) {
        const double* in = sources[s];
        for (int i = 0; i < count; i++) out[i] = std::max(out[i], in[i]);
    }
}

void encodeMidSide(double* mid, double* side, const double* a, const double* b,
                   int count) noexcept LUM_REALTIME {
    for (int i = 0; i < count; i++) {
        side[i] = (a[i] - b[i]) * 0.5;
        mid[i] = (a[i] + b[i]) * 0.5;
    }
}

void decodeMidSide(double* left, double* right, const double* a, const double* b,
                   int count) noexcept LUM_REALTIME {
    for (int i = 0; i < count; i++) {
        left[i] = a[i] + b[i];
        right[i] = a[i] - b[i];
    }
}

} // namespace lum::ops
