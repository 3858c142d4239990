// What a disk, a kill or another process does to a file that is being written: afterwards there is
// the old file or the new one, whole. All kinds of files that the product writes are put through
// it.
//
// LUM_FAULT_RUNS tells how often each kind's writer is killed (100; 2,000 for a long search).

#include "Audio/CAudioPreset.h"
#include "Core/CAppData.h"
#include "Core/CAtomicFileWriter.h"
#include "Core/TempFolder.h"
#include "Faults/Confined.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <random>
#include <set>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
int secondsAhead = 0;
}

/// The whole program's clock in seconds, in place of the system's. A file that is written at this
/// moment is thus an old one for as long as a Later lives, whoever looks at it.
extern "C" time_t time(time_t* out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const time_t seconds = now.tv_sec + secondsAhead;
    if (out) *out = seconds;
    return seconds;
}

namespace lum::test {
namespace {

struct Later {
    explicit Later(int seconds) { secondsAhead = seconds; }
    ~Later() { secondsAhead = 0; }
};

constexpr int kLeftoverAge = 3600; // seconds after which a file that nobody claims is removed
constexpr int kQuickRuns = 100;
constexpr int kNone = -1; // of a reader: no file, or none that is whole

/// Badly packed bytes, so that a mixture of two contents is seen.
CByteBuffer patternOf(int number) {
    std::mt19937 random(static_cast<uint32_t>(number));
    std::string all;
    for (int i = 0; i < 20000; i++) all += static_cast<char>(random());
    return {all.data(), all.size()};
}

class CStore : public CAppData {
public:
    explicit CStore(std::string moduleFolder)
        : CAppData("Maker/Product/", "", "Test_"), folder(std::move(moduleFolder)) {}

private:
    CString findModuleFolder() const override { return CString::fromUtf8(folder + "/module/"); }
    std::string folder;
};

CAudioPreset presetOf(int number) {
    CAudioPreset preset;
    preset.name = "x:" + CString::fromInt(number);
    preset.setEntry("values", patternOf(number));
    return preset;
}

/// One kind of file. `folder` exists; contents are numbered.
struct FileKind {
    const char* name;
    bool (*write)(const std::string& folder, const std::string& file, int number);
    int (*read)(const std::string& folder, const std::string& file);
};

int numberOf(const CAudioPreset& preset) {
    const std::string name = preset.name.toUtf8();
    const int number = name.size() > 2 ? std::atoi(name.c_str() + 2) : kNone;
    const CByteBuffer* values = preset.findEntry("values");
    return values && *values == patternOf(number) ? number : kNone;
}

/// Stores tell nobody whether the disk took a record, so a fresh one looks.
int readRecord(const std::string& folder, const std::string& file) {
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    CStore store(folder);
    CByteBuffer bytes;
    store.read(CString::fromUtf8(file), bytes, kDataBlock);
    for (int number = 0; number < 8; number++)
        if (bytes == patternOf(number)) return number;
    return kNone;
}

bool writeRecord(const std::string& folder, const std::string& file, int number) {
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    CStore store(folder);
    store.write(CString::fromUtf8(file), patternOf(number), nullptr, kDataBlock);
    return readRecord(folder, file) == number;
}

CString pathOf(const std::string& folder, const std::string& file) {
    return CString::fromUtf8(folder + "/" + file);
}

const FileKind kKinds[] = {
    {"record", &writeRecord, &readRecord},
    {"preset",
     [](const std::string& folder, const std::string& file, int number) {
         return !presetOf(number).saveToFile(pathOf(folder, file));
     },
     [](const std::string& folder, const std::string& file) {
         CAudioPreset preset;
         return preset.loadFromFile(pathOf(folder, file)) ? kNone : numberOf(preset);
     }},
    {"bank",
     [](const std::string& folder, const std::string& file, int number) {
         CAudioPresetBank bank;
         bank.resize(2);
         for (int i = 0; i < 2; i++) bank.presets[static_cast<size_t>(i)] = presetOf(number);
         return !bank.saveToFile(pathOf(folder, file));
     },
     [](const std::string& folder, const std::string& file) {
         CAudioPresetBank bank;
         if (bank.loadFromFile(pathOf(folder, file)) || bank.presets.size() != 2) return kNone;
         const int number = numberOf(bank.presets[0]);
         return numberOf(bank.presets[1]) == number ? number : kNone;
     }},
};

class DiskFault : public testing::TestWithParam<FileKind> {
protected:
    const FileKind& kind() const { return GetParam(); }
    bool write(int number, const std::string& file = "file") const {
        return kind().write(folder.path("disk"), file, number);
    }
    int read(const std::string& file = "file") const {
        return kind().read(folder.path("disk"), file);
    }
    /// Files below the folder, litter included.
    size_t countFiles() const {
        size_t count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path("disk")))
            count += entry.is_regular_file();
        return count;
    }

    /// Writes two contents in turn for ever in a process of its own; returns when it has begun.
    pid_t startWriter(int firstNumber) const {
        int ready[2] = {};
        EXPECT_EQ(pipe(ready), 0);
        const pid_t child = fork();
        if (child != 0) {
            char byte = 0;
            close(ready[1]);
            EXPECT_EQ(::read(ready[0], &byte, 1), 1);
            close(ready[0]);
            return child;
        }
        for (int i = 0;; i++) {
            write(firstNumber + i % 2);
            if (i == 0 && ::write(ready[1], "r", 1) != 1) _exit(1);
        }
    }
    static void killWriter(pid_t child) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    DiskFault() { std::filesystem::create_directories(folder.path("disk")); }
    CTempFolder folder;
    Later later{kLeftoverAge}; // nothing but its claim saves a file
};

TEST_P(DiskFault, aKilledWriterLeavesAWholeFile) {
    const char* wanted = std::getenv("LUM_FAULT_RUNS");
    const int runs = wanted ? std::atoi(wanted) : kQuickRuns;
    ASSERT_TRUE(write(1));
    std::mt19937 random(11);
    int changes = 0;
    int litter = 0;
    int last = 1;
    for (int run = 0; run < runs; run++) {
        const pid_t child = startWriter(1);
        usleep(static_cast<useconds_t>(random() % 5000));
        killWriter(child);
        const int content = read();
        ASSERT_TRUE(content == 1 || content == 2) << "run " << run;
        changes += content != last;
        litter += countFiles() > 1;
        last = content;
    }
    EXPECT_GT(changes, runs / 20) << "the writers did get to write";
    EXPECT_GT(litter, 0) << "and not to finish";
    ASSERT_TRUE(write(3)) << "what the killed ones left is in nobody's way";
    EXPECT_EQ(countFiles(), 1u) << "and gone";
}

TEST_P(DiskFault, twoProcessesThatWriteAtOnceLeaveOneOfTheTwo) {
    ASSERT_TRUE(write(1));
    const pid_t children[] = {startWriter(1), startWriter(3)};
    std::set<int> seen;
    for (int i = 0; i < 300; i++) {
        seen.insert(read());
        usleep(500);
    }
    for (const pid_t child : children) killWriter(child);
    EXPECT_FALSE(seen.contains(kNone));
    EXPECT_GT(seen.size(), 2u) << "of both writers";
}

TEST_P(DiskFault, aFullDiskKeepsTheOldFile) {
    const Confined run([&] {
        const std::string disk = folder.path("disk");
        if (!enterOwnMounts() || mount("none", disk.c_str(), "tmpfs", 0, "size=96k") != 0)
            return Confined::kCannot;
        if (!write(1)) return 1;
        std::string filler(4096, 'f');
        std::ofstream hog(disk + "/hog", std::ios::binary);
        while (hog << filler && hog.flush()) {
        }
        hog.close();
        const size_t files = countFiles();
        if (write(2)) return 2; // there is no room for another
        if (read() != 1) return 3;
        if (countFiles() != files) return 4; // litter
        std::filesystem::remove(disk + "/hog");
        return write(2) && read() == 2 ? 0 : 5;
    });
    if (run.cannot()) GTEST_SKIP() << "no file system can be mounted here";
    EXPECT_EQ(run.status(), 0);
}

TEST_P(DiskFault, aReadOnlyFolderKeepsTheOldFile) {
    const Confined run([&] {
        const std::string disk = folder.path("disk");
        if (!write(1)) return 1;
        if (!enterOwnMounts() ||
            mount(disk.c_str(), disk.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            mount(nullptr, disk.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return Confined::kCannot;
        const size_t files = countFiles();
        if (write(2)) return 2;
        return read() == 1 && countFiles() == files ? 0 : 3;
    });
    if (run.cannot()) GTEST_SKIP() << "no folder can be made read-only here";
    EXPECT_EQ(run.status(), 0);
}

TEST_P(DiskFault, namesOfAllKindsAreWritten) {
    const std::string longName(200, 'n');
    const std::string names[] = {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\x9A",
                                 " leading and trailing ", "quote\"'`$", longName,
                                 longName + std::string(45, 'm')};
    int number = 0;
    for (const std::string& name : names) {
        EXPECT_TRUE(write(number, name)) << name;
        EXPECT_EQ(read(name), number++) << name;
    }
    // More bytes than a file system takes are refused, and nothing is left of the try.
    const size_t files = countFiles();
    std::string tooLong;
    for (int i = 0; i < 200; i++) tooLong += "\xE2\x82\xAC";
    EXPECT_FALSE(write(1, tooLong));
    EXPECT_EQ(countFiles(), files);
    // A folder of 200 characters within another.
    const std::string deep = folder.path("disk/f" + longName + "/\xC3\xA4" + longName);
    std::filesystem::create_directories(deep);
    EXPECT_TRUE(kind().write(deep, "file", 4));
    EXPECT_EQ(kind().read(deep, "file"), 4);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DiskFault, testing::ValuesIn(kKinds),
                         [](const auto& row) { return row.param.name; });

/// Names of the files in the folder that its writers are at work on.
std::vector<std::string> unfinishedIn(const CTempFolder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        if (entry.path().filename().string().starts_with(".lumeron-write-"))
            names.push_back(entry.path().filename());
    return names;
}

TEST(Leftovers, onlyOldOnesOfProcessesThatAreGoneAreRemoved) {
    const CTempFolder folder;
    const Confined killed([&] {
        CAtomicFileWriter writer;
        if (writer.open(folder / "a")) return 1;
        _exit(0); // nothing is tidied up
    });
    ASSERT_EQ(killed.status(), 0);
    const std::vector<std::string> leftover = unfinishedIn(folder);
    ASSERT_EQ(leftover.size(), 1u);
    const std::string foreign[] = {".12345.tmp", ".lumeron-write-.tmp", ".lumeron-write-1.tmp2",
                                   ".lumeron-write-1a.tmp", "x.lumeron-write-1.tmp"};
    for (const std::string& name : foreign) folder.put(name, "mine");
    std::filesystem::create_directory(folder.path(".lumeron-write-2.tmp"));
    std::filesystem::create_symlink(folder.path(foreign[0]), folder.path(".lumeron-write-3.tmp"));
    const size_t others = folder.entryCount() - 1;

    CAtomicFileWriter slow;
    ASSERT_FALSE(slow.open(folder / "slow"));
    ASSERT_FALSE(slow.write("slow", 4));
    {
        const Later tooSoon(kLeftoverAge - 60);
        ASSERT_FALSE(presetOf(1).saveToFile(folder / "quick"));
    }
    EXPECT_TRUE(std::filesystem::exists(folder.path(leftover[0]))) << "another machine's, perhaps";
    const Later later(kLeftoverAge);
    ASSERT_FALSE(presetOf(1).saveToFile(folder / "quick"));
    EXPECT_FALSE(std::filesystem::exists(folder.path(leftover[0])));
    const Confined another([&] { return presetOf(2).saveToFile(folder / "quick") ? 1 : 0; });
    EXPECT_EQ(another.status(), 0);
    ASSERT_FALSE(slow.commit());
    EXPECT_EQ(folder.get("slow"), "slow");
    EXPECT_EQ(folder.entryCount(), others + 2);
}

/// The moment between the making of a file and its claim is everyone's chance to lose it.
TEST(Leftovers, manyWritersOfOneFolderAllFinish) {
    const CTempFolder folder;
    const Later later(kLeftoverAge);
    constexpr int kWriters = 4;
    constexpr int kRounds = 400;
    std::vector<pid_t> children;
    for (int number = 0; number < kWriters; number++) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        const std::string name(1, static_cast<char>('a' + number));
        for (int i = 0; i < kRounds; i++) {
            CAtomicFileWriter writer;
            const bool isWritten =
                !writer.open(folder / name) && !writer.write(name.data(), 1) && !writer.commit();
            if (!isWritten || folder.get(name) != name) _exit(1);
        }
        _exit(0);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(folder.entryCount(), static_cast<size_t>(kWriters));
}

/// The store goes on from its cache, and writes again when the folder is back.
TEST(StoreFault, aVanishedFolderLosesNothingInTheProcess) {
    const CTempFolder folder;
    setenv("XDG_CONFIG_HOME", folder.path("user").c_str(), 1);
    CStore store(folder.path());
    store.write("rec", patternOf(1), nullptr, kDataBlock);
    std::filesystem::remove_all(folder.path("user"));
    store.write("rec", patternOf(2), nullptr, kDataBlock);
    CByteBuffer bytes;
    store.read("rec", bytes, kDataBlock, true);
    EXPECT_EQ(bytes, patternOf(2));
    std::filesystem::create_directories(folder.path("user/Maker/Product"));
    store.write("rec", patternOf(3), nullptr, kDataBlock);
    EXPECT_EQ(readRecord(folder.path("user"), "rec"), 3);
}

} // namespace
} // namespace lum::test
