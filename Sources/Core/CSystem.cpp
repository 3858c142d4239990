#include "Core/CSystem.h"

#include "Core/CLog.h"
#include "Platform/Clock.h"
#include "Platform/File.h"
#include "Platform/MessageQueue.h"

#include <atomic>
#include <cstdlib>

namespace lum::system {

namespace {

constexpr const char* kErrorTitle = "Application Message";
constexpr const char* kErrorText =
    "An issue has happened when executing the vendor's application.\n"
    "\n"
    "If this issue persists, please contact application's support staff as soon as possible. "
    "Please, copy the following information to the clipboard by selecting its text and pressing "
    "Ctrl+Insert, and send it to the vendor.  Use Shift+Insert to insert information from the "
    "clipboard into your message.";
constexpr const char* kNoDetails = "<no details>";

// Kept in the system's memory: static objects outlive the pool's users.
struct CModule {
    std::string path = platform::modulePath();
    double startSeconds = platform::clockSeconds();
};

CModule& module() {
    static CModule known;
    return known;
}

std::atomic<bool> focusOnClick{true};

CString detailsOf(const CErrorResult& error) {
    if (!error) return kNoDetails;
    CString details;
    for (const CString& line : error.get()->lines) {
        details += line;
        details += "\r\n";
    }
    return details;
}

} // namespace

void noteStart() {
    module();
}

double secondsSinceLoad() {
    return platform::clockSeconds() - module().startSeconds;
}

void setFocusOnClick(bool takesFocus) {
    focusOnClick.store(takesFocus, std::memory_order_relaxed);
}

bool isFocusOnClick() {
    return focusOnClick.load(std::memory_order_relaxed);
}

CString textOfPath(const std::string& path) {
    CString text = CString::fromUtf8(path);
    if (text.toUtf8() == path) return text;
    logFormat("Path '%s' is not UTF-8 and taken for unknown.", path.c_str());
    return {};
}

CString getModulePath() {
    return textOfPath(module().path);
}

CString getModuleDirectory() {
    const std::string& path = module().path;
    return textOfPath(path.substr(0, path.rfind('/') + 1));
}

CErrorResult sendEvent(platform::CMessageQueue& queue, uint64_t address, uint32_t message,
                       intptr_t value) {
    if (const int code = queue.post(address, message, value))
        return LUM_FAIL("@lumstr_CSystem_sendEvent_PostMessage Post message error %1.", code);
    return nullptr;
}

bool hasMemory(size_t bytes) noexcept {
    auto* memory = static_cast<volatile char*>(std::malloc(bytes));
    if (!memory) return false;
    *memory = 0; // keeps the compiler from taking the request out
    std::free(const_cast<char*>(memory));
    return true;
}

void showError(CErrorResult error) {
    printError(error);
    const std::string report =
        std::string(kErrorTitle) + "\n\n" + kErrorText + "\n\n" + detailsOf(error).toUtf8() + "\n";
    uint64_t written = 0;
    (void)platform::writeFile(platform::standardFile(platform::StandardFile::Error), report.data(),
                              report.size(), written);
}

} // namespace lum::system
