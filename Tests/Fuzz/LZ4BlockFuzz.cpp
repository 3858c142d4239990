#include "Core/CMemoryReader.h"

#include <cstdlib>
#include <cstring>
#include <zlib.h>

using namespace lum;

/// Reads the bytes as an LZ4 block, in place and by copy, as they are and with a mended head.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CByteBuffer block(data, size);
    for (const bool isMended : {false, true}) {
        if (isMended) {
            if (size < 16) return 0;
            const auto check =
                static_cast<uint32_t>(adler32(adler32(0, nullptr, 0), block.data() + 4, 8));
            std::memcpy(block.data(), &kImagePageBlock, 4);
            std::memcpy(block.data() + 12, &check, 4);
        }
        CMemoryReader copying(block);
        CMemoryReaderStatic inPlace(block);
        CByteBuffer first;
        CByteBuffer second;
        const bool isFirst = !copying.readCompressedDataLZ4(first, kImagePageBlock);
        const bool isSecond = !inPlace.readCompressedDataLZ4(second, kImagePageBlock);
        if (isFirst != isSecond || (isFirst && !(first == second))) std::abort();
    }
    return 0;
}
