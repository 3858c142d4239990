#include "CompiledTree.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <set>

namespace lum::tools {

namespace {

constexpr size_t kHeaderSize = 8;      // bytes: number of texts, offset of the root node
constexpr size_t kOffsetSize = 4;      // bytes, of a text's offset
constexpr size_t kMostStrings = 65536; // an index has 16 bits
constexpr int kDeepest = 1000;         // levels of nodes that the reader follows

template <class T>
void put(std::string& out, T value) {
    for (size_t i = 0; i < sizeof(T); i++) out.push_back(static_cast<char>(value >> (8 * i)));
}

template <class T>
T checkedCast(size_t value, const std::string& what) {
    if (value > std::numeric_limits<T>::max())
        throw TreeError("too many " + what + ": " + std::to_string(value) + ", at most " +
                        std::to_string(std::numeric_limits<T>::max()));
    return static_cast<T>(value);
}

class Writer {
public:
    std::string write(const CompiledNode& root) {
        indexOf("");
        putNode(body, root);
        std::string offsets, pool;
        for (const std::string* text : strings) {
            put(offsets,
                checkedCast<uint32_t>(kOffsetSize * strings.size() + pool.size(), "bytes"));
            pool.append(text->c_str(), text->size() + 1);
        }
        std::string out;
        put(out, static_cast<uint32_t>(strings.size()));
        put(out, checkedCast<uint32_t>(offsets.size() + pool.size(), "bytes"));
        return out + offsets + pool + body;
    }

private:
    uint16_t indexOf(const std::string& text) {
        auto [place, isNew] = indices.try_emplace(text, strings.size());
        if (isNew) {
            if (strings.size() == kMostStrings)
                throw TreeError("too many different texts: more than " +
                                std::to_string(kMostStrings));
            strings.push_back(&place->first);
        }
        return static_cast<uint16_t>(place->second);
    }

    void putNode(std::string& out, const CompiledNode& node) {
        put(out, indexOf(node.tag));
        put(out, indexOf(node.name));
        put(out, static_cast<uint8_t>(node.isTemplate));
        if (!node.isTemplate) return putContent(out, node);
        put(out, indexOf(node.templateClass));
        std::string content;
        put(content, indexOf("")); // a body's tag and name are not used
        put(content, indexOf(""));
        put(content, uint8_t{0});
        putContent(content, node);
        put(out, checkedCast<uint32_t>(content.size(), "bytes in template '" + node.name + "'"));
        out += content;
    }

    void putContent(std::string& out, const CompiledNode& node) {
        const std::string where = " in <" + node.tag + "> '" + node.name + "'";
        put(out, checkedCast<uint16_t>(node.attributes.size(), "attributes" + where));
        for (const auto& [key, value] : node.attributes) {
            put(out, indexOf(key));
            put(out, indexOf(value));
        }
        put(out, checkedCast<uint16_t>(node.children.size(), "children" + where));
        for (const CompiledNode& child : node.children) putNode(out, child);
    }

    std::map<std::string, size_t> indices;
    std::vector<const std::string*> strings; // the keys of the map, by index
    std::string body;
};

class Reader {
public:
    Reader(const std::string& fileBytes, TreeStatistics& treeStatistics)
        : bytes(fileBytes), statistics(treeStatistics), end(fileBytes.size()) {}

    CompiledNode read() {
        const auto count = take<uint32_t>("number of texts");
        const uint64_t root = kHeaderSize + uint64_t{take<uint32_t>("offset of the root node")};
        if (root > bytes.size()) fail("the root node's offset leads out of the file");
        if (count > (root - kHeaderSize) / kOffsetSize)
            fail("the table of " + std::to_string(count) + " texts does not fit before the root");
        readStrings(count, static_cast<size_t>(root));
        position = static_cast<size_t>(root);
        CompiledNode node = readNode(0);
        if (position != bytes.size())
            fail(std::to_string(bytes.size() - position) + " bytes behind the root node");
        return node;
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw TreeError("byte " + std::to_string(position) + ": " + what);
    }

    template <class T>
    T take(const char* what) {
        if (end - position < sizeof(T)) fail(std::string("the data ends in the ") + what);
        T value = 0;
        for (size_t i = 0; i < sizeof(T); i++)
            value = static_cast<T>(value | static_cast<T>(static_cast<uint8_t>(bytes[position + i]))
                                               << (8 * i));
        position += sizeof(T);
        return value;
    }

    void readStrings(size_t count, size_t poolEnd) {
        const size_t poolStart = kHeaderSize + kOffsetSize * count;
        std::set<std::string> seen;
        for (size_t i = 0; i < count; i++) {
            const uint64_t start = kHeaderSize + uint64_t{take<uint32_t>("text offsets")};
            const std::string label = "text " + std::to_string(i);
            if (start < poolStart || start >= poolEnd) fail(label + " lies outside the pool");
            const size_t stop = bytes.find('\0', static_cast<size_t>(start));
            if (stop == std::string::npos || stop >= poolEnd) fail(label + " has no end");
            strings.push_back(bytes.substr(static_cast<size_t>(start), stop - start));
            if (!isGoodText(strings.back())) fail(label + " is not UTF-8");
            if (!seen.insert(strings.back()).second) fail(label + " stands twice");
        }
        if (count == 0 || !strings[0].empty()) fail("text 0 is not the empty text");
        statistics.strings = count;
    }

    const std::string& takeText(const char* what) {
        const auto index = take<uint16_t>(what);
        if (index >= strings.size())
            fail(std::string("the ") + what + " is text " + std::to_string(index) + " of " +
                 std::to_string(strings.size()));
        return strings[index];
    }

    CompiledNode readNode(int depth) {
        if (depth > kDeepest) fail("nodes are nested too deep");
        CompiledNode node;
        node.tag = takeText("tag");
        node.name = takeText("name");
        const auto form = take<uint8_t>("form");
        if (form > 1) fail("unknown node form " + std::to_string(form));
        node.isTemplate = form == 1;
        statistics.nodes++;
        if (node.isTemplate)
            readBody(node, depth);
        else
            readContent(node, depth);
        return node;
    }

    void readBody(CompiledNode& node, int depth) {
        statistics.templates++;
        node.templateClass = takeText("class");
        const auto size = take<uint32_t>("template size");
        if (size > end - position) fail("the template's body leads out of its surroundings");
        const size_t outerEnd = std::exchange(end, position + size);
        takeText("body's tag");
        takeText("body's name");
        if (take<uint8_t>("body's form") != 0) fail("a template's body is a template itself");
        readContent(node, depth);
        if (position != end) fail(std::to_string(end - position) + " bytes behind the body");
        end = outerEnd;
    }

    void readContent(CompiledNode& node, int depth) {
        for (int left = take<uint16_t>("attribute count"); left > 0; left--) {
            const std::string& key = takeText("attribute's name");
            node.attributes.emplace_back(key, takeText("attribute's value"));
        }
        for (int left = take<uint16_t>("child count"); left > 0; left--)
            node.children.push_back(readNode(depth + 1));
    }

    const std::string& bytes;
    TreeStatistics& statistics;
    size_t position = 0;
    size_t end; // of the file or of the template body being read
    std::vector<std::string> strings;
};

} // namespace

bool isGoodText(const std::string& text) {
    constexpr uint32_t kSmallest[] = {0, 1, 0x80, 0x800, 0x10000}; // by length of the sequence
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<uint8_t>(text[i]);
        const size_t length = lead < 0x80   ? 1
                              : lead < 0xC0 ? 0
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF8 ? 4
                                            : 0;
        if (length == 0 || length > text.size() - i) return false;
        uint32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
        for (size_t k = 1; k < length; k++) {
            const auto next = static_cast<uint8_t>(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            code = code << 6 | (next & 0x3Fu);
        }
        const bool isSurrogate = code >= 0xD800 && code < 0xE000;
        if (code < kSmallest[length] || code > 0x10FFFF || isSurrogate) return false;
        i += length;
    }
    return true;
}

std::string writeTree(const CompiledNode& root) {
    return Writer().write(root);
}

CompiledNode readTree(const std::string& bytes, TreeStatistics& statistics) {
    return Reader(bytes, statistics).read();
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad())
        throw TreeError("unable to read: " + std::string(std::strerror(errno)));
    return content;
}

void writeFile(const std::string& path, const std::string& bytes) {
    const std::string partial = path + ".part";
    std::ofstream file(partial, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    std::error_code error;
    if (file) {
        std::filesystem::rename(partial, path, error);
        if (!error) return;
    }
    const std::string reason = error ? error.message() : std::strerror(errno);
    std::filesystem::remove(partial, error);
    throw TreeError(path + ": unable to write: " + reason);
}

} // namespace lum::tools
