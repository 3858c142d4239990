#include "Validate/Check.h"

#include <cstdarg>
#include <cstdio>

namespace lum::validate {

namespace {

constexpr int kShown = 3; // findings told in a line

} // namespace

bool Findings::expect(bool holds, const std::string& what) {
    if (holds) return true;
    if (count_++ < kShown) shown_.push_back(what);
    return false;
}

Outcome Findings::outcome(const std::string& figure) const {
    if (isClean()) return {Verdict::Pass, figure};
    std::string line;
    for (const std::string& finding : shown_) line += (line.empty() ? "" : "; ") + finding;
    if (count_ > kShown) line += text("; %d more", count_ - kShown);
    return {Verdict::Fail, line};
}

Outcome skip(const std::string& reason) {
    return {Verdict::Skip, reason};
}

std::string text(const char* format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    return line;
}

} // namespace lum::validate
