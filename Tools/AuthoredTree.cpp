#include "AuthoredTree.h"

#include <pugixml.hpp>

#include <algorithm>
#include <set>

namespace lum::tools {

namespace {

/// A fault in the authored file, at a byte of it.
struct SourceError {
    size_t offset;
    std::string message;
};

/// Appends a code point in UTF-8.
void appendUtf8(std::string& out, uint32_t code) {
    const auto tail = [code](int shift) {
        return static_cast<char>(0x80 | (code >> shift & 0x3F));
    };
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += {static_cast<char>(0xC0 | code >> 6), tail(0)};
    } else if (code < 0x10000) {
        out += {static_cast<char>(0xE0 | code >> 12), tail(6), tail(0)};
    } else {
        out += {static_cast<char>(0xF0 | code >> 18), tail(12), tail(6), tail(0)};
    }
}

/// Text of an entity's name without "&" and ";"; empty when there is no such entity.
std::string decodeEntity(const std::string& name) {
    static constexpr struct {
        const char* name;
        const char* text;
    } kKnown[] = {{"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    for (const auto& known : kKnown)
        if (name == known.name) return known.text;
    if (name.size() < 2 || name[0] != '#') return {};
    const bool isHex = name[1] == 'x';
    const std::string digits = name.substr(isHex ? 2 : 1);
    const char* allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 7 ||
        digits.find_first_not_of(allowed) != std::string::npos)
        return {};
    const unsigned long code = std::stoul(digits, nullptr, isHex ? 16 : 10);
    std::string text;
    if (code > 0 && code <= 0x10FFFF) appendUtf8(text, static_cast<uint32_t>(code));
    return isGoodText(text) ? text : std::string();
}

class Compiler {
public:
    explicit Compiler(std::string sourceText) : source(std::move(sourceText)), buffer(source) {}

    CompiledNode compile() {
        // The parser works in place, so that its texts tell their positions, and leaves entities
        // alone, because it would let unknown ones pass.
        constexpr unsigned kOptions =
            (pugi::parse_default | pugi::parse_fragment) & ~unsigned{pugi::parse_escapes};
        const pugi::xml_parse_result result = document.load_buffer_inplace(
            buffer.data(), buffer.size(), kOptions, pugi::encoding_utf8);
        if (!result) fail(static_cast<size_t>(result.offset), result.description());
        return compileRoot();
    }

    /// "line" of an offset, counted from 1.
    size_t lineOf(size_t offset) const {
        const auto stop = source.begin() + static_cast<ptrdiff_t>(std::min(offset, source.size()));
        return static_cast<size_t>(std::count(source.begin(), stop, '\n')) + 1;
    }

private:
    [[noreturn]] static void fail(size_t offset, const std::string& message) {
        throw SourceError{offset, message};
    }

    /// Offset of a text that the parser left in the buffer.
    size_t offsetOf(const char* text) const { return static_cast<size_t>(text - buffer.data()); }

    CompiledNode compileRoot() {
        pugi::xml_node root;
        for (const pugi::xml_node& node : document.children()) {
            if (!isElement(node)) continue;
            if (root) fail(offsetOf(node.name()), "a second root element");
            root = node;
        }
        if (!root) fail(0, "no root element");
        CompiledNode compiled = compileNode(root);
        if (compiled.isTemplate) fail(offsetOf(root.name()), "the root cannot be a template");
        return compiled;
    }

    /// Whether a node is an element; fails on text.
    bool isElement(const pugi::xml_node& node) const {
        const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
        if (isText) {
            const size_t start = offsetOf(node.value());
            const size_t word = source.find_first_not_of(" \t\r\n", start);
            const bool isBlank =
                std::string(node.value()).find_first_not_of(" \t\r\n") == std::string::npos;
            if (!isBlank) fail(word, "text outside of tags; values stand in attributes");
        }
        return node.type() == pugi::node_element;
    }

    CompiledNode compileNode(const pugi::xml_node& node) {
        CompiledNode compiled;
        compiled.tag = node.name();
        compiled.isTemplate = compiled.tag == "template";
        std::set<std::string> seen;
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            const std::string key = attribute.name();
            if (!seen.insert(key).second)
                fail(offsetOf(attribute.name()), "attribute '" + key + "' stands twice");
            std::string value = decodeValue(attribute);
            if (key == "name")
                compiled.name = std::move(value);
            else if (key == "class" && compiled.isTemplate)
                compiled.templateClass = std::move(value);
            else
                compiled.attributes.emplace_back(key, std::move(value));
        }
        if (compiled.isTemplate) checkTemplate(node, compiled);
        checkText(node.name(), compiled.tag);
        for (const pugi::xml_node& child : node.children())
            if (isElement(child)) compiled.children.push_back(compileNode(child));
        checkCounts(node, compiled);
        return compiled;
    }

    void checkTemplate(const pugi::xml_node& node, const CompiledNode& compiled) const {
        const size_t offset = offsetOf(node.name());
        if (compiled.templateClass.empty()) fail(offset, "a template needs a class");
        if (compiled.templateClass == "template") fail(offset, "a template cannot make templates");
        if (compiled.name.empty()) fail(offset, "a template needs a name");
    }

    void checkCounts(const pugi::xml_node& node, const CompiledNode& compiled) const {
        constexpr size_t kMost = 65535; // counts have 16 bits
        const size_t offset = offsetOf(node.name());
        if (compiled.attributes.size() > kMost) fail(offset, "more than 65535 attributes");
        if (compiled.children.size() > kMost) fail(offset, "more than 65535 children");
    }

    void checkText(const char* place, const std::string& text) const {
        if (!isGoodText(text)) fail(offsetOf(place), "text that is not UTF-8");
    }

    std::string decodeValue(const pugi::xml_attribute& attribute) const {
        const std::string raw = attribute.value();
        checkText(attribute.name(), attribute.name() + raw);
        std::string text;
        for (size_t i = 0; i < raw.size(); i++) {
            if (raw[i] != '&') {
                text += raw[i];
                continue;
            }
            const size_t stop = raw.find(';', i);
            const std::string decoded =
                stop == std::string::npos ? "" : decodeEntity(raw.substr(i + 1, stop - i - 1));
            if (decoded.empty())
                fail(offsetOf(attribute.value()) + i,
                     "unknown entity '" + raw.substr(i, std::min(stop - i + 1, size_t{12})) + "'");
            text += decoded;
            i = stop;
        }
        return text;
    }

    std::string source;
    std::string buffer; // the source as the parser leaves it
    pugi::xml_document document;
};

} // namespace

CompiledNode readAuthoredTree(const std::string& source, const std::string& path) {
    Compiler compiler(source);
    try {
        return compiler.compile();
    } catch (const SourceError& error) {
        throw TreeError(path + ":" + std::to_string(compiler.lineOf(error.offset)) + ": " +
                        error.message);
    }
}

} // namespace lum::tools
