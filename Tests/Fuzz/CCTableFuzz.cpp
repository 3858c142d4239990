#include "Audio/CAudioCCTable.h"
#include "Core/CByteBuffer.h"
#include "Fuzz/FuzzInstance.h"

using namespace lum;

/// A stored map of controllers, whose paths are looked up in the tree of a live instance.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static CAudioCCTable* table = [] {
        CAudioCCTable* found = nullptr;
        CObject& tree = *FuzzInstance::get().getInstanceRoot();
        if (tree.findObjectChecked(found, "plugin.cctable")) std::abort();
        return found;
    }();
    logAndDropError(table->apply(CByteBuffer(bytes, size)));
    return 0;
}
