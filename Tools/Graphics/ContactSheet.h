#pragma once

#include "Other/CImageSet.h"

/// How a sheet is drawn.
struct SheetOptions {
    double scale = 2.0; // visual scale
    int width = 1280;   // pixels of the sheet
    bool isLight = false;
};

/// Draws every image of a set in a grid, in the order of their indices.
void drawContactSheet(const lum::CImageSet& set, const SheetOptions& options,
                      lum::CLinearBitmap& target);
/// Prints ranges and images of a set as text.
void listImageSet(const lum::CImageSet& set);

/// Palettes for showing things: a grey ramp, and one in which every entry is one grey.
const lum::CPaletteTable& greyRamp();
lum::CPaletteTable plainPalette(uint8_t grey);
