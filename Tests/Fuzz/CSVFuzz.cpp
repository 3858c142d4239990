#include "Other/CCSVTable.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace lum;

/// Loads the bytes as a table and asks for every cell.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = [] {
        std::string name = std::filesystem::temp_directory_path() / "lum-fuzz-XXXXXX";
        return std::string(mkdtemp(name.data()) ? name : ".") + "/table.csv";
    }();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    CCSVTable table;
    if (table.load(CString::fromUtf8(path))) return 0;
    for (int row = 0; row < table.getRowCount(); row++) {
        int column = 0;
        while (!(table.getCell(row, column, "\n") == "\n")) column++;
        if (column == 0) std::abort(); // a row has a cell
    }
    return 0;
}
