#pragma once

#include <cstdint>
#include <pthread.h>

namespace lum::platform {

/// A number that tells threads apart; never 0. No system call after a thread's first use.
uint64_t currentThreadId() noexcept;

/// A system thread with default stack and attributes. Signals but those of its own faults are
/// blocked: they are the host's.
class CNativeThread {
public:
    using Entry = void (*)(void* argument);

    /// Starts the thread. Gives 0 or the system's error code.
    int start(Entry entry, void* argument) noexcept;
    /// Asks for the highest priority the process may have; refusal is not an error.
    void raisePriority() noexcept;
    /// Waits without limit for the end of the thread and frees its handle.
    void join() noexcept;

private:
    pthread_t handle{};
    Entry entryPoint = nullptr;
    void* entryArgument = nullptr;
    static void* run(void* self);
};

} // namespace lum::platform
