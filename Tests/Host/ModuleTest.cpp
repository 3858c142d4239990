#include "Core/Sanitized.h"
#include "Host/HostedPlugin.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

using namespace lum::vst;

// What a host forgets is not to be counted as ours. The symbols are there under a sanitizer alone.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace {

size_t countEntries(const char* folder) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        (void)entry;
        count++;
    }
    return count;
}

/// Threads of this process. The system lists a thread for a moment longer than joining it takes, so
/// the least count of a quiet time is the one that tells.
size_t countThreads() {
    size_t least = countEntries("/proc/self/task");
    for (int quietMs = 0; quietMs < 50; quietMs++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const size_t now = countEntries("/proc/self/task");
        if (now < least) quietMs = 0;
        least = std::min(least, now);
    }
    return least;
}

/// Resident memory of this process in kilobytes.
long residentKilobytes() {
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    long total = 0;
    long resident = 0;
    const int read = std::fscanf(file, "%ld %ld", &total, &resident);
    std::fclose(file);
    return read == 2 ? resident * 4 : 0;
}

void loadAndUnload(bool isClosed) {
    if (isClosed) {
        Instance instance;
        instance.open(48000);
        instance.set(4, 0.9F);
        render(instance, noise<float>(8, 2000));
    } else {
        if (__lsan_disable) __lsan_disable();
        PluginFile file;
        file.entry()(&HostModel::callback);
        if (__lsan_enable) __lsan_enable();
    }
}

} // namespace

TEST(Module, theOldEntryIsTheFilesOwn) {
    PluginFile file;
    Dl_info info = {};
    void* found = reinterpret_cast<void*>(file.entry(kOldEntryName));
    ASSERT_NE(found, nullptr);
    ASSERT_NE(dladdr(found, &info), 0);
    EXPECT_NE(std::string(info.dli_fname).find("SorrelGEQ.so"), std::string::npos);
    Instance instance(kOldEntryName);
    ASSERT_NE(instance.effect, nullptr);
    instance.open(44100);
    EXPECT_EQ(instance.effect->initialDelay, 392);
}

TEST(Module, onlyTheTwoEntriesAreExported) {
    std::FILE* pipe = popen("nm -D --defined-only '" LUM_PLUGIN "'", "r");
    ASSERT_NE(pipe, nullptr);
    std::vector<std::string> names;
    char line[512];
    while (std::fgets(line, sizeof line, pipe)) {
        std::string text = line;
        text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
        names.push_back(text.substr(text.rfind(' ') + 1));
    }
    pclose(pipe);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"VSTPluginMain", "main"}));
}

TEST(Module, loadingAndUnloadingLeavesNothingBehind) {
    for (int i = 0; i < 5; i++) loadAndUnload(true);
    EXPECT_FALSE(PluginFile::isStillMapped());
    const size_t threads = countThreads();
    const size_t descriptors = countEntries("/proc/self/fd");
    const long memory = residentKilobytes();
    for (int i = 0; i < 50; i++) loadAndUnload(true);
    EXPECT_FALSE(PluginFile::isStillMapped());
    EXPECT_EQ(countThreads(), threads);
    EXPECT_EQ(countEntries("/proc/self/fd"), descriptors);
    if (lum::test::kIsSanitized) return; // a sanitizer keeps what is freed
    EXPECT_LE(residentKilobytes() - memory, 2000) << "kilobytes grown over 50 cycles";
}

TEST(Module, aForgottenInstanceSurvivesTheUnloading) {
    loadAndUnload(true); // with the first thread a sanitizer starts one of its own
    const size_t threads = countThreads();
    for (int i = 0; i < 3; i++) loadAndUnload(false);
    EXPECT_EQ(countThreads(), threads);
    EXPECT_FALSE(PluginFile::isStillMapped());
}

TEST(Module, instancesDoNotShareTheirValues) {
    Instance one;
    Instance two;
    one.set(1, 1.0F);
    EXPECT_FLOAT_EQ(two.effect->getParameter(two.effect, 1), 0.5F);
    one.open(44100);
    two.open(96000);
    EXPECT_EQ(one.effect->initialDelay, 392);
    EXPECT_EQ(two.effect->initialDelay, 703);
}
