/// Runs a piece of a test in a process of its own, where it may change what the process can do.
#pragma once

#include <functional>
#include <string>

namespace lum::test {

class Confined {
public:
    static constexpr int kCannot = 99; // a status: the system does not let us arrange the fault

    /// Forks and runs; the body's result is the status. Ended after `seconds`.
    explicit Confined(const std::function<int()>& body, int seconds = 60);

    bool cannot() const { return status_ == kCannot; }
    /// The body's result, or minus the signal that ended it.
    int status() const { return status_; }
    bool isHung() const { return isHung_; }
    /// What it wrote to standard error.
    const std::string& errors() const { return errors_; }

private:
    int status_ = 0;
    bool isHung_ = false;
    std::string errors_;
};

/// Gives the calling process mounts of its own, which go with it. False where that is not allowed.
bool enterOwnMounts();

} // namespace lum::test
