#include "Audio/CAudioParamStorage.h"
#include "Core/CMemoryReader.h"

using namespace lum;

/// The first byte chooses the format, the rest is the stream form of a storage.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size < 1) return 0;
    CAudioParamFormat format;
    format.dataType = static_cast<ParamDataType>(bytes[0] % 3);
    if (format.isFloat()) format.elementSize = 1 + bytes[0] / 64;
    CAudioParamStorage storage;
    storage.setFormat(format);
    CMemoryReader reader(bytes + 1, static_cast<int32_t>(size - 1));
    logAndDropError(storage.load(reader));
    storage.apply(CAudioParamChange::ofGroup(storage, 0, nullptr));
    storage.readString(0, 0);
    storage.readRaw(0, 0);
    return 0;
}
