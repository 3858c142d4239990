#include "Audio/Filters/CBuildThread.h"

#include "Audio/Filters/CDSPFIREQ.h"
#include "Platform/Lock.h"

namespace lum {

namespace {

// Its holder may have helpers. A thread-local mark would not do: its first use on a thread calls
// the system's allocator, and the audio thread asks here.
platform::CSpinLock permission;

} // namespace

CBuildHelperScope::CBuildHelperScope() : isHolder(permission.tryEnter()) {}

CBuildHelperScope::~CBuildHelperScope() {
    if (isHolder) permission.leave();
}

bool CBuildThread::isAllowed() {
    return permission.isHeldByCaller();
}

CErrorResult CBuildThread::run() {
    design.runSlices(gains);
    return nullptr;
}

} // namespace lum
