#pragma once

/// Loops over samples that the compiler makes vector code of, for the instruction set of the file
/// that names them. P: a type of that file alone, so that each file gets functions of its own.
namespace lum {

template <class P>
struct CSampleLoops {
    static void widen(const float* in, double* out, int count) {
        for (int i = 0; i < count; i++) out[i] = static_cast<double>(in[i]);
    }
    static void narrow(const double* in, float* out, int count) {
        for (int i = 0; i < count; i++) out[i] = static_cast<float>(in[i]);
    }
};

} // namespace lum
