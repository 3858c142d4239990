/// A progress bar on standard error, drawn on a terminal only.
#pragma once

#include <chrono>
#include <cstdint>

namespace lum::host {

class Progress {
public:
    /// total: units of the whole work; not above 0 when unknown.
    explicit Progress(std::int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::int64_t done);

private:
    std::int64_t total_;
    bool isTerminal_;
    bool isDrawn_ = false;
    std::chrono::steady_clock::time_point last_{};
};

} // namespace lum::host
