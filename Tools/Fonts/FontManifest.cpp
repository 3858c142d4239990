#include "Fonts/FontManifest.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

/// A word of the file and the number that it sets.
struct NumberWord {
    const char* word;
    double FontManifest::*member;
};

constexpr NumberWord kNumbers[] = {
    {"size", &FontManifest::size},         {"width", &FontManifest::width},
    {"tracking", &FontManifest::tracking}, {"space", &FontManifest::space},
    {"scale", &FontManifest::scale},       {"contrast", &FontManifest::contrast},
    {"ascent", &FontManifest::ascent},     {"descent", &FontManifest::descent},
    {"line-gap", &FontManifest::lineGap},  {"cap-height", &FontManifest::capHeight},
};

/// A word with one of two values, of which the first sets the member.
struct ChoiceWord {
    const char* word;
    const char* yes;
    const char* no;
    bool FontManifest::*member;
};

constexpr ChoiceWord kChoices[] = {
    {"hinting", "light", "none", &FontManifest::isHinted},
    {"figures", "tabular", "proportional", &FontManifest::isTabular},
};

/// "20-7E" or "2206".
std::pair<char16_t, char16_t> parseRange(const std::string& text) {
    const size_t dash = text.find('-');
    const int first = std::stoi(text.substr(0, dash), nullptr, 16);
    const int last =
        dash == std::string::npos ? first : std::stoi(text.substr(dash + 1), nullptr, 16);
    if (first < 32 || last < first || last > 0xFFFF) throw std::out_of_range(text);
    return {static_cast<char16_t>(first), static_cast<char16_t>(last)};
}

void readGlyphs(std::istream& words, FontManifest& manifest) {
    for (std::string word; words >> word;) manifest.ranges.push_back(parseRange(word));
}

/// Takes one line; false when it starts with no known word.
bool readLine(std::istream& words, const std::string& word, FontManifest& manifest) {
    std::string value;
    if (word == "glyphs") {
        readGlyphs(words, manifest);
        return true;
    }
    if (!(words >> value)) return false;
    if (word == "face") {
        manifest.faces.push_back(value);
        return true;
    }
    for (const ChoiceWord& choice : kChoices) {
        if (word != choice.word) continue;
        manifest.*choice.member = value == choice.yes;
        return value == choice.yes || value == choice.no;
    }
    for (const NumberWord& number : kNumbers) {
        if (word != number.word) continue;
        manifest.*number.member = std::stod(value);
        return true;
    }
    return false;
}

} // namespace

FontManifest readFontManifest(const std::string& path) {
    FontManifest manifest;
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be read");
    int lineNumber = 0;
    for (std::string line; std::getline(file, line);) {
        lineNumber++;
        std::istringstream words(line.substr(0, line.find('#')));
        std::string word;
        if (!(words >> word)) continue;
        bool isRead = false;
        try {
            isRead = readLine(words, word, manifest);
        } catch (const std::logic_error&) { // a number that is none
        }
        if (!isRead)
            throw std::runtime_error(path + ":" + std::to_string(lineNumber) + ": " + line);
    }
    if (manifest.faces.empty() || manifest.ranges.empty() || !(manifest.size > 0.0) ||
        !(manifest.scale > 0.0))
        throw std::runtime_error(path + ": a font needs faces, glyphs, a size and a scale");
    return manifest;
}
