#include "Audio/CAudioPreset.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <cstdlib>

using namespace lum;

/// What loads saves to bytes that load to the same.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    CMemoryReader reader(bytes, static_cast<int32_t>(size));
    CAudioPresetBank loaded;
    if (CErrorResult error = loaded.load(reader)) {
        logAndDropError(std::move(error));
        return 0;
    }
    CWriteSeqBuffer stream;
    if (CErrorResult error = loaded.save(stream)) std::abort();
    return 0;
}
