#include "Core/CRealtimeScope.h"

#ifndef NDEBUG

namespace lum {

namespace {

thread_local int openScopes = 0;

} // namespace

CRealtimeScope::CRealtimeScope() noexcept {
    openScopes++;
}

CRealtimeScope::~CRealtimeScope() {
    openScopes--;
}

bool CRealtimeScope::isOpen() noexcept {
    return openScopes > 0;
}

} // namespace lum

#endif
