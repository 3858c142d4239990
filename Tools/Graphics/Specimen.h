#pragma once

#include "Other/CLinearBitmap.h"

#include <string>
#include <vector>

/// What a type specimen shows.
struct SpecimenOptions {
    std::vector<std::string> fonts; // .fnt files
    std::vector<double> scales{0.8, 1.0, 1.25, 1.5, 1.75, 2.0};
    std::string text; // UTF-8, may have mark-up; empty: a text of many letters
    int width = 560;  // of one column at scale 1, interface units
};

/// Draws the text in each font at each scale, light on dark beside dark on light.
void drawSpecimen(const SpecimenOptions& options, lum::CLinearBitmap& target);
