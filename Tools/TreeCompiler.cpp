// sorrel-treec: compiles an authored tree into the form that the loader reads.
//
// An element's name is the tag of the object, its attribute `name` the object's name; all other
// attributes are the object's, in authored order. <template name="..." class="..."> declares a
// template that makes objects of the class; its other attributes and its children are its body.
// Comments are dropped. Whatever else is found fails with file, line and reason.

#include "AuthoredTree.h"

#include <cstdio>

namespace {

using namespace lum::tools;

int compileFile(const std::string& input, const std::string& output) {
    std::string place = input + ": "; // of faults of the file as a whole
    try {
        const std::string source = readFile(input);
        const CompiledNode root = readAuthoredTree(source, input);
        place = input + ":1: ";
        writeFile(output, writeTree(root));
        return 0;
    } catch (const std::exception& error) {
        const std::string message = error.what();
        const bool isPlaced = message.rfind(input + ":", 0) == 0;
        std::fprintf(stderr, "%s%s\n", isPlaced ? "" : place.c_str(), message.c_str());
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3) return compileFile(argv[1], argv[2]);
    std::fprintf(stderr, "usage: sorrel-treec IN.xml OUT\n"
                         "Compiles an authored tree into the form that the plug-in loads.\n");
    return 2;
}
