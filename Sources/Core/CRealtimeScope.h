#pragma once

namespace lum {

/// The part of a block in which nothing may be allocated, not even from the pool: another thread
/// could have emptied it. In builds with asserts pool::alloc refuses while one lives on its thread;
/// in others it is nothing.
class CRealtimeScope {
public:
#ifdef NDEBUG
    CRealtimeScope() noexcept {}
    ~CRealtimeScope() {}
#else
    CRealtimeScope() noexcept;
    ~CRealtimeScope();
    static bool isOpen() noexcept;
#endif
    CRealtimeScope(const CRealtimeScope&) = delete;
    CRealtimeScope& operator=(const CRealtimeScope&) = delete;
};

} // namespace lum
