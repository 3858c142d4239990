#include "Validate/Isolation.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lum::validate {

namespace {

constexpr std::int64_t kTailBytes = 2000;
constexpr const char* kHomes[] = {"HOME",           "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                  "XDG_CACHE_HOME", "XDG_STATE_HOME",  "TMPDIR"};
constexpr const char* kDisplays[] = {"DISPLAY", "WAYLAND_DISPLAY"};

/// A file without a name, for the output of a child.
class MemoryFile {
public:
    MemoryFile() : handle(memfd_create("output", MFD_CLOEXEC)) {}
    ~MemoryFile() { close(handle); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::int64_t size() const {
        struct stat status {};
        return fstat(handle, &status) == 0 ? status.st_size : 0;
    }
    std::string tail() const {
        const std::int64_t from = std::max<std::int64_t>(size() - kTailBytes, 0);
        std::string text(static_cast<std::size_t>(size() - from), '\0');
        const ssize_t got = pread(handle, text.data(), text.size(), from);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }

    const int handle;
};

Outcome runHere(const Check& check, const Task& task) {
    try {
        return check.run(task);
    } catch (const std::exception& failure) {
        return {Verdict::Fail, failure.what()};
    }
}

[[noreturn]] void runChild(const Check& check, const Task& task, int answer, int out, int error) {
    dup2(out, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
    for (const char* name : kHomes) setenv(name, task.scratch.c_str(), 1);
    for (const char* name : kDisplays) unsetenv(name);
    constexpr rlimit kNoDump{0, 0};
    setrlimit(RLIMIT_CORE, &kNoDump);
    if (chdir(task.scratch.c_str()) != 0) _exit(1);
    const Outcome outcome = runHere(check, task);
    const std::string line = std::to_string(static_cast<int>(outcome.verdict)) + outcome.figure;
    if (write(answer, line.data(), line.size()) < 0) _exit(1);
    std::exit(0); // through the exit functions, where a plug-in may have left something
}

struct Answer {
    std::string line;
    bool isOver = false; // the child has closed its end
};

/// The child's answer, read until it ends or the time is over.
Answer readAnswer(int pipe, int limit) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(limit);
    Answer answer;
    while (!answer.isOver) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd wait{pipe, POLLIN, 0};
        if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) <= 0) break;
        char bytes[1024];
        const ssize_t got = read(pipe, bytes, sizeof bytes);
        answer.isOver = got <= 0;
        if (got > 0) answer.line.append(bytes, static_cast<std::size_t>(got));
    }
    return answer;
}

/// Waits until the child has ended, and ends it when its time is over or it takes two more seconds.
/// Gives its wait status.
int waitForEnd(pid_t child, bool isEnding, bool& hung) {
    constexpr int kSteps = 200;
    int status = 0;
    for (int i = 0; isEnding && i < kSteps; i++) {
        if (waitpid(child, &status, WNOHANG) == child) return status;
        usleep(10000);
    }
    hung = waitpid(child, &status, WNOHANG) != child;
    if (hung) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return status;
}

Outcome judge(const std::string& line, int status, bool hung, int limit) {
    if (hung)
        return {Verdict::Fail, line.empty() ? text("hangs: ended after %d s", limit)
                                            : "hangs at the end of its process"};
    if (WIFSIGNALED(status))
        return {Verdict::Fail,
                text("crashes by signal %d (%s)", WTERMSIG(status), strsignal(WTERMSIG(status)))};
    if (WEXITSTATUS(status) != 0 || line.empty())
        return {Verdict::Fail, text("ends the process with status %d", WEXITSTATUS(status))};
    return {static_cast<Verdict>(line[0] - '0'), line.substr(1)};
}

} // namespace

IsolatedRun runIsolated(const Check& check, const Task& task, int limit) {
    const auto begin = std::chrono::steady_clock::now();
    const MemoryFile out;
    const MemoryFile error;
    int answer[2];
    if (pipe2(answer, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process can be made");
    if (child == 0) runChild(check, task, answer[1], out.handle, error.handle);
    close(answer[1]);
    const Answer heard = readAnswer(answer[0], limit);
    close(answer[0]);
    bool hung = false;
    const int status = waitForEnd(child, heard.isOver, hung);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    return {judge(heard.line, status, hung, limit), out.size(), error.tail(), seconds.count()};
}

} // namespace lum::validate
