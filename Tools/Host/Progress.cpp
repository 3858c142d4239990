#include "Host/Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace lum::host {

namespace {

constexpr std::int64_t kWidth = 40; // characters
constexpr auto kInterval = std::chrono::milliseconds(100);

} // namespace

Progress::Progress(std::int64_t total) : total_(total), isTerminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (isDrawn_) std::fputs("\r\033[K", stderr); // leaves a clean line behind
}

void Progress::show(std::int64_t done) {
    if (!isTerminal_ || total_ <= 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (isDrawn_ && now - last_ < kInterval) return;
    last_ = now;
    isDrawn_ = true;
    const std::int64_t share = std::clamp<std::int64_t>(done * 100 / total_, 0, 100);
    const auto filled = static_cast<std::size_t>(share * kWidth / 100);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %3d%%", bar.c_str(), static_cast<int>(share));
}

} // namespace lum::host
