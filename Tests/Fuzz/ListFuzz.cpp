#include "Audio/CAudioPreset.h"
#include "Core/CMemoryReader.h"

using namespace lum;

/// Reads the bytes as a list of banks.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    CMemoryReader reader(bytes, static_cast<int32_t>(size));
    CVector<CAudioPresetBank, 1> banks;
    logAndDropError(loadBankList(reader, banks));
    return 0;
}
