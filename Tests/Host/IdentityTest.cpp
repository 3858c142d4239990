// What the plug-in does differently by the host's name and by the user's settings, and what it asks
// of its host, through the plug-in's binary.

#include "Host/HostedPlugin.h"
#include "Host/StoreRecord.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <thread>

using namespace lum::vst;
using namespace std::chrono_literals;

namespace {

/// Settings of one user for a test's time, and a host model that is put back afterwards.
class Identity : public ::testing::Test {
protected:
    Identity() : saved(HostModel::current()) {
        std::string pattern = (std::filesystem::temp_directory_path() / "user-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    ~Identity() override {
        HostModel::current() = saved;
        PluginFile::settingsFolder() = "/dev/null";
        std::filesystem::remove_all(folder);
    }

    /// Stores a text setting of all plug-ins of the vendor, as a record of one string.
    void store(const std::string& name, const std::string& value) {
        putFile(std::filesystem::path(folder) / "Lumeron" / "Audio Plug-Ins" / name,
                textRecordOf(value));
        PluginFile::settingsFolder() = folder;
    }

    HostModel& host = HostModel::current();

private:
    HostModel saved;
    std::string folder;
};

/// While one thread is in the middle of a start, where it asks the host for its level, another
/// thread's block comes. Returns whether the block takes longer than `patience`: it then waits
/// until the start goes on.
bool blockWaitsForStart(Instance& instance, std::chrono::milliseconds patience) {
    std::promise<void> isInside;
    std::promise<void> mayGoOn;
    const auto goOn = mayGoOn.get_future().share();
    std::atomic<std::thread::id> starterId{};
    std::atomic<bool> hasAsked{false};
    HostModel::current().heard = [&](int32_t opcode) {
        if (opcode != kHostGetProcessLevel || std::this_thread::get_id() != starterId) return;
        if (hasAsked.exchange(true)) return;
        isInside.set_value();
        goOn.wait();
    };
    std::thread starter([&] {
        starterId = std::this_thread::get_id();
        instance.resume();
    });
    isInside.get_future().wait();
    const auto input = noise<float>(instance.effect->numInputs, 64);
    auto block = std::async(std::launch::async, [&] { render(instance, input); });
    const bool isWaiting = block.wait_for(patience) == std::future_status::timeout;
    mayGoOn.set_value();
    block.wait();
    starter.join();
    HostModel::current().heard = nullptr;
    return isWaiting;
}

} // namespace

TEST_F(Identity, theSyncLockStandsForSomeHostsAndByTheUsersWish) {
    struct Row {
        const char* product;
        const char* stored; // null: no such setting
        bool isSynced;
    };
    constexpr Row kRows[] = {
        {"Any", nullptr, false},    {"WaveLab 6", nullptr, true}, {"My Samplitude", nullptr, true},
        {"Chainer", nullptr, true}, {"Any", "true", true},        {"Any", "1", true},
        {"Any", "false", false},    {"Any", "0", false},
    };
    for (const Row& row : kRows) {
        host.product = row.product;
        if (row.stored) store("vst-func-sync", row.stored);
        Instance instance;
        EXPECT_EQ(blockWaitsForStart(instance, row.isSynced ? 50ms : 10000ms), row.isSynced)
            << row.product << " " << (row.stored ? row.stored : "");
    }
}

TEST_F(Identity, theUserMayForceTwoChannels) {
    for (const bool isForced : {false, true}) {
        store("force-2ch", isForced ? "true" : "false");
        Instance instance;
        EXPECT_EQ(instance.effect->numInputs, isForced ? 2 : 8);
        EXPECT_EQ(instance.effect->numOutputs, isForced ? 2 : 8);
    }
}

namespace {

/// The flag inside the loaded file, found by its name among the file's own symbols.
const bool* focusFlag(const PluginFile& file) {
    std::FILE* pipe = popen("nm -C '" LUM_PLUGIN "'", "r");
    unsigned long address = 0;
    for (char line[4096]; pipe && std::fgets(line, sizeof line, pipe);) {
        const std::string text = line;
        if (text.find("::focusOnClick\n") == std::string::npos) continue;
        std::sscanf(line, "%lx", &address);
    }
    if (pipe) pclose(pipe);
    Dl_info info = {};
    dladdr(reinterpret_cast<void*>(file.entry()), &info);
    return address
               ? reinterpret_cast<const bool*>(static_cast<const char*>(info.dli_fbase) + address)
               : nullptr;
}

} // namespace

TEST_F(Identity, aClickTakesTheFocusUnlessTheHostWantsToKeepIt) {
    struct Row {
        const char* vendor;
        const char* product;
        bool takesFocus;
    };
    constexpr Row kRows[] = {
        {"Any", "Any", true},         {"Steinberg Media", "Cubase 10", false},
        {"Any", "Any", true},         {"Any", "Cubase 10", false},
        {"FXpansion", "Any", false},  {"Any", "WaveLab", false},
        {"Any", "Fruity Box", false}, {"Any", "Sonar", true},
    };
    const PluginFile file;
    const bool* flag = focusFlag(file);
    if (!flag) GTEST_SKIP() << "the plug-in's symbols are stripped";
    for (const Row& row : kRows) {
        host.vendor = row.vendor;
        host.product = row.product;
        const Instance instance;
        EXPECT_EQ(*flag, row.takesFocus) << row.vendor << " " << row.product;
    }
}

TEST_F(Identity, theLevelIsAskedForEachBlockAndTheTimeNever) {
    Instance instance;
    int levels = 0;
    int times = 0;
    host.heard = [&](int32_t opcode) {
        levels += opcode == kHostGetProcessLevel;
        times += opcode == kHostGetTime;
    };
    instance.open(44100);
    EXPECT_EQ(levels, 1) << "of the start";
    render(instance, noise<float>(8, 700), {100});
    render(instance, noise<double>(8, 700), {100});
    EXPECT_EQ(levels, 15);
    EXPECT_EQ(times, 0) << "no setting of the product needs the host's tempo";
    EXPECT_EQ(instance.send(kEffectCanDo, 0, 0, const_cast<char*>("receiveVstTimeInfo")), 1);
}

/// A host may bounce offline from one block to the next.
TEST_F(Identity, offlineRenderingGivesTheSameBits) {
    const auto input = noise<double>(8, 3000);
    Planar<double> reference;
    for (const int32_t change : {0, 2, 4}) {
        Instance instance;
        instance.set(4, 0.8F);
        host.level = change;
        instance.open(48000);
        auto output = render(instance, input, {500});
        host.level = 4 - change;
        for (auto& channel : render(instance, input, {300})) output.push_back(channel);
        instance.suspend();
        if (reference.empty()) reference = output;
        EXPECT_EQ(output, reference) << change;
    }
}
