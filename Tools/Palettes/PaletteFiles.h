#pragma once

#include "Palettes/Scheme.h"

#include <string>

/// The files that the product embeds, named as it asks for them, written into a folder.
/// Throw SchemeError.
void writePaletteFiles(const Scheme& scheme, const std::string& sourceFolder,
                       const std::string& outFolder);
/// The palette's part of the interface tree, as authored XML. Values are those of the first preset.
void writePaletteTree(const Scheme& scheme, const std::string& sourceFolder,
                      const std::string& path);
