/// Finds every system call of a piece of code, by whatever road it is made.
#pragma once

#include <functional>
#include <string>

namespace lum::test {

/// What trapSystemCalls found.
struct TrapResult {
    bool isClean = false;
    std::string report; // the call's number and name where it is not
};

/// Runs in a child process: `prepare` freely, then `body` on a thread from which any system call
/// but the end of the process is trapped by the kernel. Threads that `prepare` started are not
/// restricted. The child ends behind `body` without destructors.
TrapResult trapSystemCalls(const std::function<void()>& prepare, const std::function<void()>& body);

} // namespace lum::test
