/// Catches what a real-time thread must not do. Linked into a test program, it stands before the
/// C library's own functions for the whole process, also for libraries loaded later; while a guard
/// lives on a thread, each call of that thread to the allocator, a blocking lock or wait, a file
/// or the raw system-call entry is recorded. Other threads are not touched.
///
/// The program must export its symbols (ENABLE_EXPORTS), and it is left out of sanitizer builds,
/// which stand before the same functions.
#pragma once

#include <string>

namespace lum::test {

/// Guards the calling thread while it lives. Not to be nested.
class RealtimeGuard {
public:
    /// Whether to give the processor away counts as a violation.
    enum class Yield { Forbidden, Allowed };
    explicit RealtimeGuard(Yield yield = Yield::Forbidden);
    ~RealtimeGuard();
    RealtimeGuard(const RealtimeGuard&) = delete;
    RealtimeGuard& operator=(const RealtimeGuard&) = delete;

    /// Violations of all guards so far, and their reset.
    static long violations();
    static void forget();

    /// The first few violations: the function and the call stack as module and offset.
    static std::string report();
};

} // namespace lum::test
