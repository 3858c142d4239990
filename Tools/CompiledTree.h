#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The byte form of compiled trees, for the tools: all numbers little-endian; a table of texts,
/// then the nodes, which name their texts by 16-bit indices.
namespace lum::tools {

/// A node in memory, with authored order kept. A template's attributes and children are those of
/// its body.
struct CompiledNode {
    std::string tag;
    std::string name;
    bool isTemplate = false;
    std::string templateClass; // tag that a template makes
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<CompiledNode> children;
};

/// What a compiled tree holds, counted while it was read.
struct TreeStatistics {
    size_t strings = 0;
    size_t nodes = 0; // template bodies are not counted apart from their templates
    size_t templates = 0;
};

/// A tree or file that is not right; the text says what and where.
class TreeError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Whether a text is well-formed UTF-8 without a terminator inside.
bool isGoodText(const std::string& text);

/// Bytes of the compiled form. Throws TreeError when a count does not fit.
std::string writeTree(const CompiledNode& root);

/// Reads the compiled form and checks everything about it. Throws TreeError.
CompiledNode readTree(const std::string& bytes, TreeStatistics& statistics);

/// A whole file. Throws TreeError.
std::string readFile(const std::string& path);
/// Writes a file under another name and puts it in its place when it is whole. Throws TreeError.
void writeFile(const std::string& path, const std::string& bytes);

} // namespace lum::tools
