#include "Core/CMemoryReader.h"

#include <cstdlib>
#include <cstring>
#include <zlib.h>

using namespace lum;

/// Reads the bytes as a compressed block as they are, and once more with a head that belongs to
/// their size field, as no mutation finds the check by chance.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CByteBuffer block(data, size);
    for (const bool isMended : {false, true}) {
        if (isMended) {
            if (size < 12) return 0;
            const auto check =
                static_cast<uint32_t>(adler32(adler32(0, nullptr, 0), block.data() + 4, 4));
            std::memcpy(block.data(), &kPresetBlock, 4);
            std::memcpy(block.data() + 8, &check, 4);
        }
        CMemoryReader reader(block);
        CByteBuffer out;
        if (reader.readCompressedData(out, kPresetBlock)) continue;
        int32_t declared = 0;
        std::memcpy(&declared, block.data() + 4, 4);
        if (out.size() != static_cast<size_t>(declared)) std::abort();
    }
    return 0;
}
