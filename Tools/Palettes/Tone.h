#pragma once

#include <cstdint>

/// A colour by CIE lightness, chroma and hue, for rules that make one tone from another.
struct Tone {
    double lightness = 0.0; // 0 to 100
    double a = 0.0;
    double b = 0.0;

    static Tone fromRgb(uint32_t rgb); // 0xRRGGBB
    /// Nearest 0xRRGGBB of the same lightness and hue; takes chroma back until it can be shown.
    uint32_t toRgb() const;
};

/// Relative luminance of 0xRRGGBB, 0 to 1, and the contrast ratio of two, 1 to 21.
/// Source: Web Content Accessibility Guidelines 2.1, "relative luminance" and "contrast ratio".
double luminance(uint32_t rgb);
double contrastRatio(uint32_t first, uint32_t second);
