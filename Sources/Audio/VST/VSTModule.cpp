#include "Audio/VST/VSTModule.h"

#include "Audio/CProductTables.h"
#include "Audio/Filters/CDSPFIREQ.h"
#include "Audio/Transform/CFFTPlan.h"
#include "Audio/VST/CAudioWrapperVST.h"
#include "Core/CApplication.h"
#include "Core/CWorkerThreadPool.h"
#include "Product.h"

namespace __gnu_cxx {
void __freeres();
}

// Loading and unloading of the module's file, on the thread that does it.
//
// NOTE: this file is linked last, so that its constructor runs behind those of all other files. Of
// the destructors, the plain one runs first, then the static objects go, then the memory.

namespace lum::vst {

namespace {

CErrorRecord* failure = nullptr; // a plain pointer: it must be valid before any constructor has run

__attribute__((constructor)) void onLoad() {
    failure = CApplication::start(makeProductTables(kProductResources)).release();
}

/// A host that ends with instances open may still be inside a block on another thread: then
/// everything stays as it is, but for the threads, whose code is about to go.
__attribute__((destructor)) void onUnload() {
    if (CAudioWrapperVST::countLive() == 0) {
        CApplication::finish();
        CDSPFIREQ::releaseAll();
        CFFTPlan::finishService();
        delete std::exchange(failure, nullptr);
        pool::releaseAll();
    }
    CPersistentThread::releaseIdle();
}

/// The reserve for exceptions of the standard library inside this file, 72 kB that nobody else
/// would give back.
__attribute__((destructor(101))) void releaseStandardLibrary() {
    __gnu_cxx::__freeres();
}

} // namespace

CErrorResult loadFailure() {
    return CErrorResult(failure ? new CErrorRecord(*failure) : nullptr);
}

} // namespace lum::vst
