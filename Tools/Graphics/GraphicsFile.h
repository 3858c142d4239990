#pragma once

#include "Other/CFont.h"

#include <memory>
#include <string>

/// Loads a font (a name that ends with ".fnt") or an image set. Throws std::runtime_error.
std::unique_ptr<lum::CImageSet> loadGraphicsFile(const std::string& path);
std::unique_ptr<lum::CFont> loadFontFile(const std::string& path);

/// The end of a failed step of a program: throws what the failure says.
void throwOnError(const lum::CErrorResult& error, const std::string& place);
