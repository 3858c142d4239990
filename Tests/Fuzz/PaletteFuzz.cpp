#include "Core/CApplication.h"
#include "Core/CCoreCreators.h"
#include "Core/CMemoryReader.h"
#include "Other/CDynamicPalette.h"
#include "Other/COtherCreators.h"

#include <cstdlib>

using namespace lum;

namespace {

CErrorResult makeColor(CObject& palette, const char* name, const char* gradientSize) {
    CObject* color = nullptr;
    CAttrMap given;
    given["gradient-size"] = CAttrEntry::ofText(gradientSize);
    given["is-hoverable"] = CAttrEntry::ofText("true");
    given["editable-features"] = CAttrEntry::ofText("+bcot");
    return palette.createChild(color, "ui:dynamic-color", name, false, &given);
}

/// A palette of two colours, whose names have one character so that blobs find them.
CDynamicPalette* makePalette() {
    setenv("XDG_CONFIG_HOME", "/dev/null", 1);
    static const CCreatorRow* const tables[] = {kCoreCreators, kOtherCreators, nullptr};
    if (CApplication::start({tables, nullptr, nullptr})) std::abort();
    if (CApplication::get()->initSharedObject("")) std::abort();
    CDynamicPalette* palette = nullptr;
    CObject& shared = *CObject::sharedRoot();
    if (shared.createChild(palette, "ui:dynamic-palette", "palette", false)) std::abort();
    if (makeColor(*palette, "a", "1") || makeColor(*palette, "b", "3")) std::abort();
    return palette;
}

} // namespace

/// The first byte chooses: a colour's record of the cache without or with a hover form, or a blob.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static CDynamicPalette* palette = makePalette();
    if (size < 1) return 0;
    if (bytes[0] % 4 < 2) {
        CDynamicColorData color;
        CMemoryReader reader(bytes + 1, static_cast<int32_t>(size - 1));
        logAndDropError(color.load(reader, bytes[0] % 4 == 1));
        color.setForm(3, true);
        color.setValues(color.getValues());
        return 0;
    }
    logAndDropError(palette->applyBlob(CByteBuffer(bytes + 1, size - 1)));
    if (!palette->findRamp("a") || !palette->findRamp("b")) std::abort();
    return 0;
}
