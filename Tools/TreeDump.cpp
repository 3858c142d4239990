// sorrel-treedump: prints a compiled tree as text and checks every byte of it on the way.

#include "CompiledTree.h"

#include <cstdio>

namespace {

using namespace lum::tools;

std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out + '"';
}

void printNode(const CompiledNode& node, size_t depth) {
    const std::string indent(2 * depth, ' ');
    std::printf("%s%s %s", indent.c_str(), node.tag.c_str(), quoted(node.name).c_str());
    if (node.isTemplate) std::printf(" makes %s", node.templateClass.c_str());
    std::printf("\n");
    for (const auto& [key, value] : node.attributes)
        std::printf("%s  .%s = %s\n", indent.c_str(), key.c_str(), quoted(value).c_str());
    for (const CompiledNode& child : node.children) printNode(child, depth + 1);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: sorrel-treedump FILE\n"
                             "Prints a compiled tree as text and checks all of it.\n");
        return 2;
    }
    try {
        TreeStatistics statistics;
        const CompiledNode root = readTree(readFile(argv[1]), statistics);
        std::printf("# %zu nodes, %zu of them templates; %zu texts\n", statistics.nodes,
                    statistics.templates, statistics.strings);
        printNode(root, 0);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
        return 1;
    }
}
