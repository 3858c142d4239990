#include "Images/ImageManifest.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace {

constexpr int kHighestIndex = 9999;     // a mistyped index would make a giant table
constexpr double kHighestSide = 1000.0; // interface units

/// The words of a line, read from left to right.
class Words {
public:
    explicit Words(const std::string& line) : stream(line.substr(0, line.find('#'))) {}

    bool next(std::string& word) { return static_cast<bool>(stream >> word); }

    std::string text(const char* what) {
        std::string word;
        if (!next(word)) throw std::invalid_argument(std::string(what) + " is missing");
        return word;
    }

    double number(const char* what, double low, double high) {
        const std::string word = text(what);
        size_t used = 0;
        double value = 0.0;
        try {
            value = std::stod(word, &used);
        } catch (const std::logic_error&) {
            used = 0;
        }
        if (used == 0 || used != word.size() || !(value >= low && value <= high))
            throw std::invalid_argument(std::string(what) + " cannot be \"" + word + "\"");
        return value;
    }

    int integer(const char* what, int low, int high) {
        const double value = number(what, low, high);
        if (value != static_cast<int>(value))
            throw std::invalid_argument(std::string(what) + " must be a whole number");
        return static_cast<int>(value);
    }

private:
    std::istringstream stream;
};

template <class Value>
Value choose(const std::map<std::string, Value>& known, const std::string& word) {
    const auto found = known.find(word);
    if (found == known.end()) throw std::invalid_argument("unknown word \"" + word + "\"");
    return found->second;
}

class ManifestReader {
public:
    explicit ManifestReader(ImageManifest& target) : manifest(target) {}

    void readLine(Words& words, int lineNumber) {
        std::string verb;
        if (!words.next(verb)) return;
        line = lineNumber;
        using Reader = void (ManifestReader::*)(Words&);
        static const std::map<std::string, Reader> kVerbs = {
            {"scale", &ManifestReader::readScale}, {"drawing", &ManifestReader::readDrawing},
            {"range", &ManifestReader::readRange}, {"image", &ManifestReader::readImage},
            {"nine", &ManifestReader::readNine},
        };
        (this->*choose(kVerbs, verb))(words);
        std::string rest;
        if (words.next(rest)) throw std::invalid_argument("what is \"" + rest + "\"?");
    }

private:
    void readScale(Words& words) { manifest.scale = words.number("scale", 0.25, 8.0); }

    void readDrawing(Words& words) {
        drawing =
            (std::filesystem::path(manifest.path).parent_path() / words.text("drawing")).string();
    }

    void readRange(Words& words) {
        NamedRange range;
        range.name = words.text("name");
        if (range.name == "-") range.name.clear();
        range.first = words.integer("first index", 0, kHighestIndex);
        range.last = words.integer("last index", range.first, kHighestIndex);
        for (const NamedRange& other : manifest.ranges)
            if (other.name == range.name) throw std::invalid_argument("the range is there twice");
        manifest.ranges.push_back(range);
    }

    void readImage(Words& words) {
        LayerCut cut = readCut(words);
        readOptions(words, cut);
        manifest.cuts.push_back(cut);
    }

    /// The eight border pieces of a frame, row by row from the top left, the middle left out.
    /// Pieces at the right and at the bottom keep their far edge where rounding leaves slack.
    void readNine(Words& words) {
        LayerCut whole = readCut(words);
        const double left = words.number("left border", 0.5, whole.rect.width);
        const double top = words.number("top border", 0.5, whole.rect.height);
        const double right = words.number("right border", 0.5, whole.rect.width - left - 0.5);
        const double bottom = words.number("bottom border", 0.5, whole.rect.height - top - 0.5);
        readOptions(words, whole);
        const DrawingRect& all = whole.rect;
        const double columns[] = {0.0, left, all.width - right, all.width};
        const double rows[] = {0.0, top, all.height - bottom, all.height};
        int index = whole.image;
        for (int piece = 0; piece < 9; piece++) {
            if (piece == 4) continue;
            const int column = piece % 3;
            const int row = piece / 3;
            LayerCut cut = whole;
            cut.image = index++;
            cut.rect = {all.x + columns[column], all.y + rows[row],
                        columns[column + 1] - columns[column], rows[row + 1] - rows[row]};
            cut.alignFlags = (column == 2 ? 2 : 0) | (row == 2 ? 2 : 0) << 2;
            manifest.cuts.push_back(cut);
        }
    }

    LayerCut readCut(Words& words) {
        if (drawing.empty()) throw std::invalid_argument("no drawing is named before");
        LayerCut cut;
        cut.line = line;
        cut.drawing = drawing;
        cut.image = words.integer("image index", 0, kHighestIndex);
        cut.rect.x = words.number("x", 0.0, kHighestSide);
        cut.rect.y = words.number("y", 0.0, kHighestSide);
        cut.rect.width = words.number("width", 0.5, kHighestSide);
        cut.rect.height = words.number("height", 0.5, kHighestSide);
        return cut;
    }

    void readOptions(Words& words, LayerCut& cut) {
        static const std::map<std::string, int> kSides = {{"near", 0}, {"centre", 1}, {"far", 2}};
        static const std::map<std::string, PixelKind> kKinds = {
            {"alpha", PixelKind::Alpha}, {"index", PixelKind::Index}, {"color", PixelKind::Color}};
        for (std::string word; words.next(word);) {
            if (word == "slot") {
                cut.slot = words.integer("slot", 0, 63);
            } else if (word == "tone") {
                cut.tone = words.integer("tone", 0, 255);
            } else if (word == "origin") {
                cut.originX = words.number("origin", -kHighestSide, kHighestSide);
                cut.originY = words.number("origin", -kHighestSide, kHighestSide);
            } else if (word == "extra") {
                cut.extraWidth = words.number("extra width", -kHighestSide, kHighestSide);
                cut.extraHeight = words.number("extra height", -kHighestSide, kHighestSide);
            } else if (word == "align") {
                cut.alignFlags = choose(kSides, words.text("horizontal side"));
                cut.alignFlags |= choose(kSides, words.text("vertical side")) << 2;
            } else if (word == "kind") {
                cut.kind = choose(kKinds, words.text("kind"));
            } else {
                throw std::invalid_argument("unknown word \"" + word + "\"");
            }
        }
    }

    ImageManifest& manifest;
    std::string drawing;
    int line = 0;
};

void checkRanges(const ImageManifest& manifest) {
    for (const NamedRange& range : manifest.ranges)
        for (int index = range.first; index <= range.last; index++)
            if (std::none_of(manifest.cuts.begin(), manifest.cuts.end(),
                             [index](const LayerCut& cut) { return cut.image == index; }))
                throw ImageError(manifest.path + ": range \"" + range.name + "\" lacks image " +
                                 std::to_string(index));
}

} // namespace

ImageError ImageManifest::fault(int line, const std::string& message) const {
    return ImageError(path + ":" + std::to_string(line) + ": " + message);
}

ImageManifest readImageManifest(const std::string& path) {
    ImageManifest manifest;
    manifest.path = path;
    std::ifstream file(path);
    if (!file) throw ImageError(path + ": cannot be read");
    ManifestReader reader(manifest);
    int lineNumber = 0;
    for (std::string line; std::getline(file, line);) {
        lineNumber++;
        try {
            Words words(line);
            reader.readLine(words, lineNumber);
        } catch (const std::invalid_argument& error) {
            throw manifest.fault(lineNumber, error.what());
        }
    }
    if (manifest.cuts.empty()) throw ImageError(path + ": no image");
    checkRanges(manifest);
    return manifest;
}
