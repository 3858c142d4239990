#include "Validate/ProcessState.h"

#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xmmintrin.h>

extern char** environ;

namespace lum::validate {

namespace {

constexpr std::uint32_t kControlBits = 0xFFC0; // of MXCSR; the others only note what happened

std::string floatingPointMode() {
    std::uint16_t old = 0;
    __asm__ volatile("fnstcw %0" : "=m"(old));
    return std::to_string(_mm_getcsr() & kControlBits) + " " + std::to_string(old);
}

std::string localeNames() {
    return std::string(std::setlocale(LC_ALL, nullptr)) + " " +
           std::to_string(reinterpret_cast<std::uintptr_t>(uselocale(nullptr))) + " " +
           std::localeconv()->decimal_point;
}

std::string signalHandlers() {
    std::string all;
    for (int number = 1; number < NSIG; number++) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) != 0) continue;
        all += std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + "/" +
               std::to_string(action.sa_flags) + " ";
    }
    return all;
}

std::string signalMask() {
    sigset_t mask;
    sigemptyset(&mask);
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    std::string all;
    for (int number = 1; number < NSIG; number++) all += sigismember(&mask, number) ? '1' : '0';
    return all;
}

std::string fileMask() {
    const mode_t mask = umask(0);
    umask(mask);
    return std::to_string(mask);
}

std::string workingFolder() {
    std::error_code error;
    return std::filesystem::current_path(error).string();
}

std::string environment() {
    std::string all;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; entry++)
        all += std::string(*entry) + "\n";
    return all;
}

int countEntries(const char* folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        (void)entry;
        count++;
    }
    return count;
}

} // namespace

ProcessState ProcessState::now() {
    ProcessState state;
    state.settings_ = {{"floating-point mode", floatingPointMode()},
                       {"locale", localeNames()},
                       {"signal handlers", signalHandlers()},
                       {"signal mask", signalMask()},
                       {"umask", fileMask()},
                       {"working folder", workingFolder()},
                       {"environment", environment()}};
    return state;
}

std::string ProcessState::difference(const ProcessState& other) const {
    for (std::size_t i = 0; i < settings_.size(); i++)
        if (settings_[i].value != other.settings_[i].value) return settings_[i].name;
    return {};
}

void setFloatingPointMode(std::uint32_t mxcsr) {
    _mm_setcsr(mxcsr);
}

int countThreads() {
    return countEntries("/proc/self/task");
}

int countDescriptors() {
    return countEntries("/proc/self/fd") - 1; // without the one that looks
}

std::int64_t anonymousBytes() {
    std::ifstream file("/proc/self/smaps_rollup");
    std::string line;
    while (std::getline(file, line))
        if (line.starts_with("Anonymous:")) return std::stoll(line.substr(10)) * 1024;
    return 0;
}

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error))
        files.push_back(entry.path().string());
    return files;
}

} // namespace lum::validate
