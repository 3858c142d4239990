#include "Faults/Confined.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lum::test {

namespace {

std::string contentOf(int file) {
    std::string text;
    char bytes[4096];
    lseek(file, 0, SEEK_SET);
    for (ssize_t got = 0; (got = read(file, bytes, sizeof bytes)) > 0;)
        text.append(bytes, static_cast<size_t>(got));
    return text;
}

} // namespace

Confined::Confined(const std::function<int()>& body, int seconds) {
    const int output = memfd_create("errors", MFD_CLOEXEC);
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(output, STDERR_FILENO);
        std::exit(body()); // by the exit functions, so that a sanitizer looks for what is left
    }
    int status = 0;
    for (int i = 0; i < seconds * 100 && waitpid(child, &status, WNOHANG) == 0; i++) usleep(10000);
    if (kill(child, 0) == 0 && waitpid(child, &status, WNOHANG) == 0) {
        isHung_ = true;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    errors_ = contentOf(output);
    close(output);
}

bool enterOwnMounts() {
    // Without rights of its own a process may still have them in a user namespace.
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace lum::test
