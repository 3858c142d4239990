#pragma once

#include "Other/CLinearBitmap.h"

#include <string>

/// Writes a bitmap as a PNG of 24 bits a pixel. Throws std::runtime_error.
void writePng(const lum::CLinearBitmap& bitmap, const std::string& path);
