#include "Audio/VST/CAudioWrapperVST.h"
#include "Audio/VST/VSTModule.h"
#include "Core/CLog.h"
#include "Core/CSystem.h"
#include "Platform/Clock.h"
#include "Platform/FlushToZero.h"

#include <memory>

// The two functions that a host finds in the file.

namespace {

using namespace lum;

/// Bytes that an instance may take until it runs, pools included; about five times what it does.
constexpr size_t kInstanceBytes = size_t{8} << 20;

/// Null: the host does not answer, or the instance failed, which the user has been told.
vst::AEffect* createEffect(vst::HostCallback host) {
    const double started = platform::clockSeconds();
    if (!host || host(nullptr, vst::kHostVersion, 0, 0, nullptr, 0.0F) == 0) return nullptr;
    if (CErrorResult failure = vst::loadFailure()) {
        system::showError(std::move(failure));
        return nullptr;
    }
    // Later on there is no way back for those who ask for memory.
    if (!system::hasMemory(kInstanceBytes)) {
        system::showError(LUM_FAIL("@lumstr_VSTEntry_createEffect_NoMemory "
                                   "The system has no memory for another instance."));
        return nullptr;
    }
    auto instance = std::unique_ptr<CAudioWrapperVST>(new CAudioWrapperVST(host));
    if (CErrorResult failure = instance->init()) {
        system::showError(std::move(failure));
        return nullptr;
    }
    logFormat("VST entry time: %.4f s @ %.4f s", platform::clockSeconds() - started,
              system::secondsSinceLoad());
    return instance.release()->getEffect(); // the host's close destroys it
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) vst::AEffect* LUM_VST_CALL
VSTPluginMain(vst::HostCallback host) {
    return createEffect(host);
}

/// Older hosts look for `main`, a name that no function of C++ may have here.
__attribute__((used, visibility("hidden"))) vst::AEffect* LUM_VST_CALL
lumOldEntry(vst::HostCallback host) {
    platform::CFlushToZero mode;
    return createEffect(host);
}
}

asm(".globl main\n"
    ".type main, @function\n"
    ".set main, lumOldEntry\n");
