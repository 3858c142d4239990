/// What ends a command with a message for the person at the keyboard.
#pragma once

#include <stdexcept>

namespace lum::host {

/// Shown as "sorrel-host: MESSAGE"; the program ends with exit code 1.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace lum::host
