#include "Audio/CAudioVizData.h"
#include "Core/CMemoryReader.h"

using namespace lum;

/// Reads records one behind the other until one is wrong.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    CMemoryReader reader(bytes, static_cast<int32_t>(size));
    for (int i = 0; i < 64 && reader.bytesLeft() > 0; i++) {
        CVizDataRef record;
        if (CErrorResult error = loadVizRecord(reader, record)) {
            logAndDropError(std::move(error));
            break;
        }
    }
    return 0;
}
