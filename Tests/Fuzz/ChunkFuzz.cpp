#include "Fuzz/FuzzInstance.h"

#include "Core/CByteBuffer.h"

using namespace lum;

/// Payloads and whole chunks go to a live instance. The first byte chooses the kind. What is
/// refused has changed nothing.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    FuzzInstance& instance = FuzzInstance::get();
    const bool isPreset = (bytes[0] & 1) != 0;
    const bool withPrefix = (bytes[0] & 2) != 0;
    CByteBuffer before;
    CByteBuffer after;
    if (instance.getState(before, false, false)) std::abort();
    CErrorResult error = instance.setState(bytes + 1, size - 1, isPreset, withPrefix);
    if (instance.getState(after, false, false)) std::abort();
    if (error && !(before == after)) std::abort();
    logAndDropError(std::move(error));
    return 0;
}
