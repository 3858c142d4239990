#include "Guard/RealtimeGuard.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr int kRecords = 8; // violations kept with their call stack
constexpr int kFrames = 16; // of a call stack

struct Record {
    const char* function;
    void* frames[kFrames];
    int frameCount;
};

thread_local int guardDepth = 0;
thread_local bool mayYield = false;
std::atomic<long> violationCount{0};
Record records[kRecords];

void note(const char* function) {
    if (guardDepth == 0) return;
    guardDepth = 0; // the stack walk may allocate when it runs for the first time
    const long number = violationCount.fetch_add(1);
    if (number < kRecords) {
        Record& record = records[number];
        record.function = function;
        record.frameCount = backtrace(record.frames, kFrames);
    }
    guardDepth = 1;
}

/// The C library's own function behind the one that is defined here.
template <typename Function>
Function real(std::atomic<Function>& cache, const char* name) {
    Function function = cache.load(std::memory_order_relaxed);
    if (function == nullptr) {
        function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        cache.store(function, std::memory_order_relaxed);
    }
    return function;
}

} // namespace

#define GUARD_EXPORT extern "C" __attribute__((visibility("default")))

// Defines one function that notes the call and passes it on.
#define GUARD_FUNCTION(Result, name, parameters, arguments)                                        \
    GUARD_EXPORT Result name parameters {                                                          \
        static std::atomic<Result(*) parameters> cache{nullptr};                                   \
        note(#name);                                                                               \
        return real(cache, #name) arguments;                                                       \
    }

// The allocator cannot be looked up with dlsym, which allocates itself.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

GUARD_EXPORT void* malloc(std::size_t size) noexcept {
    note("malloc");
    return __libc_malloc(size);
}
GUARD_EXPORT void* calloc(std::size_t count, std::size_t size) noexcept {
    note("calloc");
    return __libc_calloc(count, size);
}
GUARD_EXPORT void* realloc(void* memory, std::size_t size) noexcept {
    note("realloc");
    return __libc_realloc(memory, size);
}
GUARD_EXPORT void free(void* memory) noexcept {
    if (memory != nullptr) note("free");
    __libc_free(memory);
}
GUARD_EXPORT void* memalign(std::size_t alignment, std::size_t size) noexcept {
    note("memalign");
    return __libc_memalign(alignment, size);
}
GUARD_EXPORT void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    note("aligned_alloc");
    return __libc_memalign(alignment, size);
}
GUARD_EXPORT int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    note("posix_memalign");
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

// Locks and waits. An uncontended lock makes no system call, yet it may block another time.
GUARD_FUNCTION(int, pthread_mutex_lock, (pthread_mutex_t * m), (m))
GUARD_FUNCTION(int, pthread_rwlock_rdlock, (pthread_rwlock_t * l), (l))
GUARD_FUNCTION(int, pthread_rwlock_wrlock, (pthread_rwlock_t * l), (l))
GUARD_FUNCTION(int, pthread_cond_wait, (pthread_cond_t * c, pthread_mutex_t* m), (c, m))
GUARD_FUNCTION(int, pthread_cond_timedwait,
               (pthread_cond_t * c, pthread_mutex_t* m, const timespec* t), (c, m, t))
GUARD_FUNCTION(int, pthread_cond_signal, (pthread_cond_t * c), (c))
GUARD_FUNCTION(int, pthread_cond_broadcast, (pthread_cond_t * c), (c))
GUARD_FUNCTION(int, pthread_join, (pthread_t thread, void** result), (thread, result))
GUARD_FUNCTION(int, pthread_create,
               (pthread_t * thread, const pthread_attr_t* attributes, void* (*body)(void*),
                void* argument),
               (thread, attributes, body, argument))
GUARD_FUNCTION(int, sem_wait, (sem_t * s), (s))
GUARD_FUNCTION(int, sem_timedwait, (sem_t * s, const timespec* t), (s, t))
GUARD_FUNCTION(int, sem_post, (sem_t * s), (s))
GUARD_FUNCTION(int, nanosleep, (const timespec* t, timespec* rest), (t, rest))
GUARD_FUNCTION(int, clock_nanosleep,
               (clockid_t clock, int flags, const timespec* t, timespec* rest),
               (clock, flags, t, rest))
GUARD_FUNCTION(int, usleep, (useconds_t time), (time))
GUARD_FUNCTION(int, poll, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))

GUARD_EXPORT int sched_yield() noexcept {
    static std::atomic<int (*)()> cache{nullptr};
    if (!mayYield) note("sched_yield");
    return real(cache, "sched_yield")();
}

// Files and memory maps.
GUARD_FUNCTION(ssize_t, read, (int fd, void* data, std::size_t size), (fd, data, size))
GUARD_FUNCTION(ssize_t, write, (int fd, const void* data, std::size_t size), (fd, data, size))
GUARD_FUNCTION(int, close, (int fd), (fd))
GUARD_FUNCTION(void*, mmap,
               (void* at, std::size_t size, int protection, int flags, int fd, off_t offset),
               (at, size, protection, flags, fd, offset))
GUARD_FUNCTION(int, munmap, (void* at, std::size_t size), (at, size))
GUARD_FUNCTION(int, mprotect, (void* at, std::size_t size, int protection), (at, size, protection))
GUARD_FUNCTION(int, madvise, (void* at, std::size_t size, int advice), (at, size, advice))

GUARD_EXPORT int open(const char* path, int flags, ...) {
    static std::atomic<int (*)(const char*, int, ...)> cache{nullptr};
    note("open");
    va_list list;
    va_start(list, flags);
    const auto mode = va_arg(list, mode_t);
    va_end(list);
    return real(cache, "open")(path, flags, mode);
}

// The raw entry, by which locks of other make reach the kernel's futex.
GUARD_EXPORT long syscall(long number, ...) noexcept {
    static std::atomic<long (*)(long, ...)> cache{nullptr};
    note("syscall");
    va_list list;
    va_start(list, number);
    long a[6];
    for (long& argument : a) argument = va_arg(list, long);
    va_end(list);
    return real(cache, "syscall")(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

namespace lum::test {

RealtimeGuard::RealtimeGuard(Yield yield) {
    mayYield = yield == Yield::Allowed;
    guardDepth = 1;
}
RealtimeGuard::~RealtimeGuard() {
    guardDepth = 0;
}

long RealtimeGuard::violations() {
    return violationCount;
}
void RealtimeGuard::forget() {
    violationCount = 0;
}

std::string RealtimeGuard::report() {
    std::string text;
    for (long i = 0; i < violationCount && i < kRecords; ++i) {
        const Record& record = records[i];
        text += std::string(record.function) + " called by\n";
        char** names = backtrace_symbols(record.frames, record.frameCount);
        for (int frame = 2; frame < record.frameCount; ++frame) {
            text += "    " + std::string(names[frame]) + "\n";
        }
        free(names);
    }
    return text;
}

} // namespace lum::test
