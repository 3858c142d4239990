#pragma once

#include <string>
#include <utility>
#include <vector>

/// What a `.font` file asks for: one font, from which outlines and at which size. The files lie in
/// Gfx/Fonts, whose README tells the words.
struct FontManifest {
    std::vector<std::string> faces; // below the font folder; the first that has a glyph gives it
    double size = 0.0;              // em square, data pixels
    double width = 1.0;             // of the outlines, as a factor
    double tracking = 0.0;          // added to each advance, data pixels
    double space = 0.0;             // advance of the space, data pixels; 0: as the face has it
    double scale = 2.0;             // data pixels per interface unit
    double contrast = 1.0;          // exponent of coverage; under 1 strengthens thin strokes
    bool isHinted = false;          // vertical hinting at the data's scale
    bool isTabular = false;         // all figures take the same advance
    double ascent = 0.0;            // interface units
    double descent = 0.0;
    double lineGap = 0.0;
    double capHeight = 0.0;
    std::vector<std::pair<char16_t, char16_t>> ranges; // of code points, inclusive
};

/// Reads a manifest. Throws std::runtime_error with the file and line of what it cannot read.
FontManifest readFontManifest(const std::string& path);
