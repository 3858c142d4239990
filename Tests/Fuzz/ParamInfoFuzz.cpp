#include "Audio/CAudioParamCreators.h"
#include "Audio/CAudioParamInfo.h"
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"

using namespace lum;

namespace {

/// A shared tree with a converter under a name of one character, so that streams get past it.
bool makeTree() {
    static const CCreatorRow* const tables[] = {kAudioParamCreators, nullptr};
    logAndDropError(CApplication::start({tables, nullptr, nullptr}));
    logAndDropError(CApplication::get()->initSharedObject(""));
    CObject* converter = nullptr;
    logAndDropError(CObject::sharedRoot()->createChild(converter, "audio:cvt-text", "c", false));
    return converter != nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const bool isReady = makeTree();
    CAudioParamInfo info;
    CMemoryReader reader(bytes, static_cast<int32_t>(size));
    if (isReady) logAndDropError(info.load(reader));
    return 0;
}
