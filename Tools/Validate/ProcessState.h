/// What a plug-in shares with its host and has to leave alone.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lum::validate {

/// The process-wide and thread-wide settings as they stand; two of them can be compared.
class ProcessState {
public:
    static ProcessState now();

    /// The name of the first setting that differs; empty when none does.
    std::string difference(const ProcessState& other) const;

private:
    struct Setting {
        const char* name;
        std::string value;
    };
    std::vector<Setting> settings_;
};

/// Sets the control bits of the vector unit (rounding, flush to zero).
void setFloatingPointMode(std::uint32_t mxcsr);

int countThreads();
int countDescriptors();
/// Bytes of the process that no file stands behind.
std::int64_t anonymousBytes();
/// Files and folders below one, however deep.
std::vector<std::string> filesBelow(const std::string& folder);

} // namespace lum::validate
