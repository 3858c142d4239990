#include "Audio/Filters/CBuildThread.h"

#include "Audio/Filters/CDSPFIREQ.h"

namespace lum {

namespace {

thread_local int openScopes = 0;

} // namespace

CBuildHelperScope::CBuildHelperScope() {
    openScopes++;
}

CBuildHelperScope::~CBuildHelperScope() {
    openScopes--;
}

bool CBuildThread::isAllowed() {
    return openScopes > 0;
}

CErrorResult CBuildThread::run() {
    design.runSlices(gains);
    return nullptr;
}

} // namespace lum
