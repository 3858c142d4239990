#include "Core/CAtomicFileWriter.h"
#include "Core/CResourceReader.h"
#include "Core/TempFolder.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace lum;

namespace {

constexpr uid_t kStranger = 65534;

CErrorResult writeText(COutputStream& target, const std::string& text) {
    return target.write(text.data(), static_cast<int64_t>(text.size()));
}

} // namespace

TEST(File, failuresNameTheFileAndTheSystemsCode) {
    CTempFolder folder;
    folder.put("short", "0123456789");
    CFileReader reader;
    CFileWriter writer;
    CAtomicFileWriter atomic;
    char out[16];
    EXPECT_EQ(reader.open("nowhere\\a\\b.x").line(0),
              "Unable to open file 'nowhere/a/b.x' for reading (error 2).");
    EXPECT_TRUE(reader.getFileName().empty());
    EXPECT_EQ(writer.open("nowhere/b", true).line(0),
              "Unable to open file 'nowhere/b' for appending (error 2).");
    EXPECT_EQ(writer.open("nowhere/b", false).line(0),
              "Unable to open file 'nowhere/b' for rewriting (error 2).");
    EXPECT_EQ(atomic.open("nowhere\\b").line(0),
              "Unable to open file 'nowhere/b' for rewriting (error 2).");
    const CString name = folder / "short";
    ASSERT_FALSE(reader.open(name));
    EXPECT_EQ(reader.read(out, 11).line(0),
              "Unable to read from file '" + name + "' (required 11 bytes, read 10 bytes).");
    EXPECT_EQ(reader.skip(-100).line(0),
              "Unable to increment file's '" + name + "' position by -100 (error 22).");
    EXPECT_EQ(reader.setPosition(UINT64_MAX >> 1).line(0).substring(0, 27),
              "Unable to set file's '" + name.substring(0, 5));
    ASSERT_FALSE(reader.close());
    EXPECT_EQ(reader.read(out, 1).line(0), "Unable to read from file '' (error 9).");
}

/// Somebody may have put a pipe where a record is looked for, under a lock and with the host
/// waiting.
TEST(File, aPipeOrADeviceIsRefusedAtOnceWhereItWouldBeRead) {
    CTempFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", folder.path("device"));
    CFileReader reader;
    alarm(20); // ends the program where it waits
    for (const bool isReadWrite : {false, true})
        for (const char* name : {"pipe", "device"})
            EXPECT_EQ(reader.open(folder / name, isReadWrite).line(0),
                      "Unable to open file '" + (folder / name) + "' for reading (error 29).");
    alarm(0);
    const int otherEnd = open(folder.path("pipe").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_TRUE(reader.open(folder / "pipe")) << "nor with somebody at its other end";
    CFileWriter writer;
    EXPECT_FALSE(writer.open(folder / "pipe", true)) << "but written";
    close(otherEnd);
}

/// As a file server keeps one on the files that its clients have open.
TEST(File, aLeasedFileIsWaitedFor) {
    CTempFolder folder;
    folder.put("file", "old");
    const int lent = open(folder.path("file").c_str(), O_RDWR | O_CLOEXEC);
    static int leased;
    leased = lent;
    signal(SIGIO, [](int) { fcntl(leased, F_SETLEASE, F_UNLCK); });
    if (fcntl(lent, F_SETLEASE, F_WRLCK) == 0) {
        CFileReader reader;
        EXPECT_FALSE(reader.open(folder / "file"));
    }
    signal(SIGIO, SIG_DFL);
    close(lent);
}

TEST(File, positionsSizesAndStreamedReadsAgree) {
    CTempFolder folder;
    folder.put("a b", "0123456789");
    CFileReader reader;
    ASSERT_FALSE(reader.open(folder.path("a b").c_str()));
    uint64_t value = 0;
    char out[16];
    ASSERT_FALSE(reader.getSize(value));
    EXPECT_EQ(value, 10u);
    ASSERT_FALSE(reader.setPosition(2));
    ASSERT_FALSE(reader.skip(3));
    EXPECT_EQ(reader.bytesLeft(), 5);
    ASSERT_FALSE(reader.read(out, 2));
    EXPECT_EQ(std::string(out, 2), "56");
    int64_t count = 16;
    ASSERT_FALSE(reader.readStreamed(out, count));
    EXPECT_EQ(std::string(out, static_cast<size_t>(count)), "789");
    count = 16;
    ASSERT_FALSE(reader.readStreamed(out, count));
    EXPECT_EQ(count, 0);
}

TEST(File, starsAreTheStandardStreams) {
    CFileReader reader;
    ASSERT_FALSE(reader.open("*"));
    EXPECT_EQ(reader.getFileName(), "stdin");
    for (const char* name : {"stderr", "stdout", "stdout"}) { // closing leaves the stream open
        CFileWriter writer;
        ASSERT_FALSE(writer.open(name[3] == 'e' ? "*e" : "*", true));
        EXPECT_EQ(writer.getFileName(), name);
        EXPECT_FALSE(writer.write("", 0));
    }
}

TEST(File, whatDidNotOpenFailsInWords) {
    CResourceReader resource;
    char out[1];
    EXPECT_TRUE(resource.open("nowhere/b"));
    EXPECT_EQ(resource.read(out, 1).line(0), "Unable to read from file '' (error 9).");
}

TEST(AtomicFile, theOldContentStaysUntilTheCommit) {
    CTempFolder folder;
    folder.put("file", "old");
    {
        CAtomicFileWriter writer;
        ASSERT_FALSE(writer.open(folder / "file"));
        ASSERT_FALSE(writeText(writer, "dropped"));
    }
    EXPECT_EQ(folder.get("file"), "old");
    CAtomicFileWriter writer;
    CAtomicFileWriter other;
    ASSERT_FALSE(writer.open(folder / "file"));
    ASSERT_FALSE(other.open(folder / "file"));
    ASSERT_FALSE(writeText(writer, "first"));
    ASSERT_FALSE(writeText(other, "second"));
    EXPECT_EQ(folder.get("file"), "old");
    ASSERT_FALSE(writer.commit());
    EXPECT_EQ(folder.get("file"), "first");
    ASSERT_FALSE(other.commit());
    EXPECT_EQ(folder.get("file"), "second");
    EXPECT_EQ(folder.entryCount(), 1u);
}

TEST(AtomicFile, linksStayAndOnlyFilesAreReplaced) {
    CTempFolder folder;
    std::filesystem::create_symlink("file", folder.path("link"));
    CAtomicFileWriter writer;
    for (const char* path : {"file", "link"}) {
        ASSERT_FALSE(writer.open(folder / path));
        ASSERT_FALSE(writeText(writer, path));
        ASSERT_FALSE(writer.commit());
        EXPECT_EQ(folder.get("file"), path);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const char* path : {"", "pipe"}) EXPECT_TRUE(writer.open(folder / path)) << path;
}

TEST(AtomicFile, aLinkToAMissingFileStaysAndTheFileIsMade) {
    CTempFolder folder;
    std::filesystem::create_directories(folder.path("far/files"));
    std::filesystem::create_symlink("files/record", folder.path("far/second"));
    std::filesystem::create_symlink("far/second", folder.path("first"));
    std::filesystem::create_symlink(folder.path("whole"), folder.path("direct"));
    std::filesystem::create_symlink("nowhere/record", folder.path("lost"));
    std::filesystem::create_symlink("circle", folder.path("circle"));
    const size_t entries = folder.entryCount();
    CAtomicFileWriter writer;
    for (const auto& [link, file] : {std::pair("first", "far/files/record"), {"direct", "whole"}}) {
        ASSERT_FALSE(writer.open(folder / link));
        ASSERT_FALSE(writeText(writer, link));
        ASSERT_FALSE(writer.commit());
        EXPECT_TRUE(std::filesystem::is_symlink(folder.path(link)));
        EXPECT_EQ(folder.get(file), link);
    }
    for (const char* path : {"lost", "circle"}) EXPECT_TRUE(writer.open(folder / path)) << path;
    EXPECT_EQ(folder.entryCount(), entries + 2);
}

TEST(AtomicFile, theRightsAndTheOwnerStay) {
    CTempFolder folder;
    folder.put("file", "old");
    const mode_t mask = umask(077);
    CAtomicFileWriter writer;
    for (const mode_t rights : {0600U, 0664U, 0755U}) {
        const std::string path = folder.path("file");
        ASSERT_EQ(chmod(path.c_str(), rights), 0);
        // Only the system's own user may give a file away.
        const bool isGiven = chown(path.c_str(), kStranger, kStranger) == 0;
        ASSERT_FALSE(writer.open(folder / "file"));
        ASSERT_FALSE(writer.commit());
        struct stat info {};
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, rights);
        EXPECT_EQ(info.st_size, 0);
        EXPECT_EQ(info.st_uid, isGiven ? kStranger : geteuid());
        EXPECT_EQ(info.st_gid, isGiven ? kStranger : getegid());
    }
    umask(022);
    ASSERT_FALSE(writer.open(folder / "new"));
    ASSERT_FALSE(writer.commit());
    umask(mask);
    EXPECT_EQ(std::filesystem::status(folder.path("new")).permissions(),
              std::filesystem::perms(0644));
}

TEST(AtomicFile, aProtectedFileIsRefused) {
    CTempFolder folder;
    folder.put("file", "old");
    ASSERT_EQ(chmod(folder.path("file").c_str(), 0444), 0);
    // The system's own user may write everything, so that another one tries.
    const bool isAllowedAll = geteuid() == 0;
    if (isAllowedAll &&
        (chown(folder.path().c_str(), kStranger, kStranger) != 0 ||
         chown(folder.path("file").c_str(), kStranger, kStranger) != 0 || seteuid(kStranger) != 0))
        GTEST_SKIP() << "there is no other user here";
    CAtomicFileWriter writer;
    const CErrorResult failure = writer.open(folder / "file");
    ASSERT_EQ(isAllowedAll ? seteuid(0) : 0, 0);
    EXPECT_EQ(failure.line(0),
              "Unable to open file '" + (folder / "file") + "' for rewriting (error 13).");
    EXPECT_EQ(folder.get("file"), "old");
    EXPECT_EQ(folder.entryCount(), 1u);
}
