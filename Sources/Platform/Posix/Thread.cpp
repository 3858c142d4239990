#include "Platform/Thread.h"

#include <csignal>
#include <sched.h>

namespace lum::platform {

// The system's handle of the thread: unique among living threads, and free of thread-local storage
// of this module, whose first use on a thread would call the system allocator.
uint64_t currentThreadId() noexcept {
    return static_cast<uint64_t>(
        reinterpret_cast<uintptr_t>(reinterpret_cast<void*>(pthread_self())));
}

int CNativeThread::start(Entry entry, void* argument) noexcept {
    entryPoint = entry;
    entryArgument = argument;
    // A new thread takes over the mask of the one that makes it.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int code = pthread_create(&handle, nullptr, &CNativeThread::run, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return code;
}

void CNativeThread::raisePriority() noexcept {
    // Few processes have the right to real-time scheduling; without it the thread stays as it is.
    sched_param parameter{};
    parameter.sched_priority = sched_get_priority_max(SCHED_RR);
    pthread_setschedparam(handle, SCHED_RR, &parameter);
}

void CNativeThread::join() noexcept {
    pthread_join(handle, nullptr);
}

void* CNativeThread::run(void* self) {
    auto* thread = static_cast<CNativeThread*>(self);
    thread->entryPoint(thread->entryArgument);
    return nullptr;
}

} // namespace lum::platform
