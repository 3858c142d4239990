#include "Core/CLog.h"

#include "Platform/File.h"
#include "Platform/Lock.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

namespace lum {

namespace {

constexpr const char* kLogPath = "";    // in the shipped form: no log
constexpr size_t kLongestFormat = 1024; // bytes of a formatted line, terminator included

struct CLogState {
    platform::CLock lock;
    std::string path = kLogPath;
    bool hasBegun = false; // the file was begun anew by the first line
};

CLogState& logState() {
    static CLogState state;
    return state;
}

void writeLine(std::string_view text, bool withNewline) {
    CLogState& state = logState();
    platform::CLockGuard guard(state.lock);
    if (state.path.empty()) return;
    std::string bytes(text);
    if (withNewline) bytes += "\r\n";
    int handle = platform::kNoFile;
    const auto mode = state.hasBegun ? platform::FileMode::Append : platform::FileMode::Rewrite;
    // A log that cannot be written has nobody to tell it to.
    if (platform::openFile(state.path, mode, handle) != 0) return;
    state.hasBegun = true;
    uint64_t written = 0;
    (void)platform::writeFile(handle, bytes.data(), bytes.size(), written);
    (void)platform::closeFile(handle);
}

bool isLogOff() {
    CLogState& state = logState();
    platform::CLockGuard guard(state.lock);
    return state.path.empty();
}

} // namespace

void logLine(const CString& text, bool withNewline) {
    if (!isLogOff()) writeLine(text.toUtf8(), withNewline);
}

void logFormat(const char* format, ...) {
    // From the stack, so that the pool can tell that the system has refused it memory.
    char line[kLongestFormat];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    writeLine(line, true);
}

void setLogPath(const CString& path) {
    CLogState& state = logState();
    platform::CLockGuard guard(state.lock);
    state.path = path.toUtf8();
    state.hasBegun = false;
}

} // namespace lum
