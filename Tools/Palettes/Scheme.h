#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// A fault in authored palettes; the text starts with file and line.
class SchemeError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A colour line, or a heading between colours. A preset's file has such lines too.
struct SchemeColor {
    std::string place; // "file:line: ", for messages
    std::string name;
    std::string title;
    int level = 0; // depth below the palette
    bool isHeading = false;
    bool isTone = false; // stands behind rules only
    std::map<std::string, std::string> keys;

    bool has(const char* key) const { return keys.count(key) != 0; }
    std::string text(const char* key) const { return has(key) ? keys.at(key) : std::string(); }
    double number(const char* key, double fallback) const;
    /// Whether it is part of a preset.
    bool isStored() const;
};

struct SchemePreset {
    std::string file;
    std::string name;
};

/// The authored scheme: colours in the tree's order and presets in the bank's.
struct Scheme {
    std::vector<SchemeColor> colors;
    std::vector<SchemePreset> presets;
};

/// Both throw SchemeError. A preset's lines replace keys of the scheme's.
Scheme readScheme(const std::string& path);
Scheme applyPreset(const Scheme& scheme, const std::string& path);
