#include "Palettes/Scheme.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

namespace {

const std::set<std::string> kFlags = {"hover", "copy", "follow"};
const std::set<std::string> kNumbers = {"contrast", "opacity", "brightness", "gradient", "floor"};
const std::set<std::string> kTexts = {"tone", "tone2", "edit"};

bool isNumber(const std::string& text) {
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0';
}

/// One line of either kind of file, taken apart.
class LineReader {
public:
    LineReader(const std::string& path, int number, const std::string& whole)
        : place(path + ":" + std::to_string(number) + ": "),
          line(whole.substr(0, whole.find('#'))),
          words(line) {}

    bool next(std::string& word) { return static_cast<bool>(words >> word); }
    std::string rest() {
        std::string text;
        std::getline(words >> std::ws, text);
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }
    [[noreturn]] void fail(const std::string& message) const { throw SchemeError(place + message); }

    SchemeColor readColor(std::string name) {
        SchemeColor color;
        color.place = place;
        color.isTone = name == "let";
        if (color.isTone && !next(name)) fail("a name is missing");
        color.name = name;
        const size_t indent = line.find_first_not_of(' ');
        if (indent % 2 != 0) fail("a level is indented by two blanks");
        color.level = static_cast<int>(indent / 2);
        takeTitle(color);
        for (std::string word; next(word);) takeKey(color, word);
        return color;
    }

private:
    void takeTitle(SchemeColor& color) {
        const size_t open = line.find('"');
        if (open == std::string::npos) return;
        const size_t close = line.find('"', open + 1);
        if (close == std::string::npos) fail("the title has no end");
        color.title = line.substr(open + 1, close - open - 1);
        line.erase(open);
        words.str(line);
        words.clear();
        std::string skipped;
        next(skipped); // the name
        if (color.isTone) next(skipped);
    }

    void takeKey(SchemeColor& color, const std::string& word) const {
        const size_t equals = word.find('=');
        const std::string key = word.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
        const bool isFlag = kFlags.count(key) != 0;
        if (!isFlag && !kNumbers.count(key) && !kTexts.count(key))
            fail("unknown word \"" + word + "\"");
        if (isFlag != (equals == std::string::npos) || (!isFlag && value.empty()))
            fail("\"" + key + (isFlag ? "\" takes no value" : "\" needs a value"));
        if (kNumbers.count(key) && !isNumber(value)) fail("\"" + value + "\" is no number");
        color.keys[key] = value;
    }

    std::string place;
    std::string line;
    std::istringstream words;
};

template <class Take>
void readLines(const std::string& path, Take take) {
    std::ifstream file(path);
    if (!file) throw SchemeError(path + ": cannot be read");
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        LineReader reader(path, ++number, line);
        std::string word;
        if (reader.next(word)) take(reader, word);
    }
}

void addColor(Scheme& scheme, const LineReader& reader, const SchemeColor& color) {
    const int deepest =
        scheme.colors.empty() || scheme.colors.back().isTone || scheme.colors.back().isHeading
            ? 0
            : scheme.colors.back().level + 1;
    if (color.level > deepest) reader.fail("there is no colour above this one");
    for (const SchemeColor& other : scheme.colors)
        if (!other.isHeading && other.name == color.name) reader.fail("the name is there twice");
    scheme.colors.push_back(color);
}

} // namespace

double SchemeColor::number(const char* key, double fallback) const {
    return has(key) ? std::strtod(keys.at(key).c_str(), nullptr) : fallback;
}

// As in the palette: brightness, opacity and tone make a colour part of a preset.
bool SchemeColor::isStored() const {
    const std::string features = text("edit");
    return features.substr(0, features.find('-')).find_first_of("bot") != std::string::npos;
}

Scheme readScheme(const std::string& path) {
    Scheme scheme;
    readLines(path, [&scheme](LineReader& reader, std::string word) {
        if (word == "preset") {
            SchemePreset preset;
            reader.next(preset.file);
            preset.name = reader.rest();
            if (preset.name.empty()) reader.fail("a preset needs a file and a name");
            scheme.presets.push_back(preset);
        } else if (word == "group") {
            SchemeColor heading;
            heading.isHeading = true;
            heading.title = reader.rest();
            scheme.colors.push_back(heading);
        } else {
            addColor(scheme, reader, reader.readColor(word));
        }
    });
    return scheme;
}

Scheme applyPreset(const Scheme& scheme, const std::string& path) {
    Scheme applied = scheme;
    readLines(path, [&applied](LineReader& reader, const std::string& word) {
        const SchemeColor change = reader.readColor(word);
        const auto target = std::find_if(applied.colors.begin(), applied.colors.end(),
                                         [&change](const SchemeColor& color) {
                                             return !color.isHeading && color.name == change.name;
                                         });
        if (target == applied.colors.end()) reader.fail("the scheme has no " + change.name);
        for (const auto& [key, value] : change.keys) target->keys[key] = value;
        target->place = change.place;
    });
    return applied;
}
