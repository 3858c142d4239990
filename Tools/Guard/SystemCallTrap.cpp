#include "Guard/SystemCallTrap.h"

#include <csignal>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lum::test {

namespace {

constexpr int kClean = 0;
constexpr int kTrapped = 3;
constexpr int kNoFilter = 4;

/// Seen by parent and child; the child cannot report by a pipe once it is trapped.
struct Finding {
    volatile int number;
    volatile unsigned long address;
};
Finding* finding = nullptr;

void onTrap(int, siginfo_t* info, void*) {
    finding->number = info->si_syscall;
    finding->address = reinterpret_cast<unsigned long>(info->si_call_addr);
    syscall(SYS_exit_group, kTrapped);
}

/// Traps everything but exit_group on the calling thread, for the rest of its life.
bool installFilter() {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
    };
    const sock_fprog filter{4, program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

[[noreturn]] void runChild(const std::function<void()>& prepare,
                           const std::function<void()>& body) {
    prepare();
    struct sigaction action {};
    action.sa_sigaction = onTrap;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    if (!installFilter()) _exit(kNoFilter);
    body();
    syscall(SYS_exit_group, kClean);
    __builtin_unreachable();
}

} // namespace

TrapResult trapSystemCalls(const std::function<void()>& prepare,
                           const std::function<void()>& body) {
    finding = static_cast<Finding*>(
        mmap(nullptr, sizeof(Finding), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const pid_t child = fork();
    if (child == 0) runChild(prepare, body);
    int status = 0;
    waitpid(child, &status, 0);
    TrapResult result;
    result.isClean = WIFEXITED(status) && WEXITSTATUS(status) == kClean;
    if (!result.isClean) {
        result.report = WIFEXITED(status) && WEXITSTATUS(status) == kTrapped
                            ? "system call number " + std::to_string(finding->number)
                            : "the child ended with status " + std::to_string(status);
    }
    munmap(finding, sizeof(Finding));
    return result;
}

} // namespace lum::test
