#include "Audio/CAudioParamStorage.h"
#include "Core/CMemoryReader.h"

using namespace lum;

/// Changes in stream form, one behind the other, are applied to one storage.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    CAudioParamStorage storage;
    storage.setFormat({});
    CMemoryReader reader(bytes, static_cast<int32_t>(size));
    CAudioParamChange change;
    for (int i = 0; i < 64; i++) {
        CErrorResult error = change.load(reader);
        if (error) {
            logAndDropError(std::move(error));
            break;
        }
        storage.apply(change);
    }
    for (int group = 0; group < storage.getGroupCount(); group++) storage.readString(group, 0);
    return 0;
}
