#include "Platform/Thread.h"

#include <csignal>
#include <initializer_list>
#include <sched.h>

namespace lum::platform {

// The system's handle of the thread: unique among living threads, and free of thread-local storage
// of this module, whose first use on a thread would call the system allocator.
uint64_t currentThreadId() noexcept {
    return static_cast<uint64_t>(
        reinterpret_cast<uintptr_t>(reinterpret_cast<void*>(pthread_self())));
}

namespace {

/// The signals for the host's threads alone. Those of a fault stay with the thread that is at
/// fault, or a host's report of its own crash would not be written.
sigset_t hostSignals() noexcept {
    sigset_t set;
    sigfillset(&set);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&set, fault);
    return set;
}

} // namespace

int CNativeThread::start(Entry entry, void* argument) noexcept {
    entryPoint = entry;
    entryArgument = argument;
    // A new thread takes over the mask of the one that makes it.
    const sigset_t masked = hostSignals();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &masked, &before);
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
