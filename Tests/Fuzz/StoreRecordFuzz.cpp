#include "Core/CAppData.h"
#include "Core/CStream.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace lum;

namespace {

/// A store in a folder of its own, with the fuzzer's bytes as its only record.
class CFuzzStore : public CAppData {
public:
    CFuzzStore() : CAppData("Maker/", "", "Fuzz_") {}
};

std::string makeFolder() {
    std::string name = std::filesystem::temp_directory_path() / "lum-fuzz-XXXXXX";
    const std::string folder = mkdtemp(name.data()) ? name : ".";
    std::filesystem::create_directories(folder + "/Maker");
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    return folder;
}

} // namespace

/// Reads a record as every kind of block; what was read comes back from the cache.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string folder = makeFolder();
    std::ofstream(folder + "/Maker/record", std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    for (const uint32_t id : {kStringBlock, kDataBlock, kListBlock, kPresetBlock}) {
        CFuzzStore store;
        CByteBuffer out;
        CByteBuffer again;
        store.read("record", out, id);
        store.read("record", again, id);
        if (!(out == again)) std::abort();
    }
    CFuzzStore store;
    CString text;
    store.getString(text, "record", "default");
    return 0;
}
