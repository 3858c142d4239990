#include "Platform/File.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

using namespace lum::platform;

namespace {

struct CTemporaryFolder {
    CTemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "lumXXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~CTemporaryFolder() { std::filesystem::remove_all(path); }
    std::string path;
};

/// Opens a file, writes a text, and gives the system's code of the first that failed.
int put(const std::string& path, FileMode mode, const std::string& text) {
    int handle = kNoFile;
    uint64_t count = 0;
    int code = openFile(path, mode, handle);
    if (code == 0) code = writeFile(handle, text.data(), text.size(), count);
    if (handle != kNoFile) closeFile(handle);
    return code;
}

} // namespace

TEST(FileTest, eachModeStartsWhereItSays) {
    CTemporaryFolder folder;
    const std::string path = folder.path + "/a";
    const struct {
        FileMode mode;
        int code;
        uintmax_t size; // after five bytes more
    } steps[] = {{FileMode::Read, ENOENT, 0}, {FileMode::Append, 0, 5},
                 {FileMode::Append, 0, 10},   {FileMode::ReadWrite, 0, 10},
                 {FileMode::Read, EBADF, 10}, {FileMode::Rewrite, 0, 5}};
    for (const auto& step : steps) {
        EXPECT_EQ(put(path, step.mode, "bytes"), step.code);
        std::error_code absent;
        EXPECT_EQ(step.size ? std::filesystem::file_size(path, absent) : 0, step.size);
    }
    EXPECT_EQ(put(folder.path, FileMode::Read, ""), EISDIR);
    int handle = kNoFile;
    EXPECT_EQ(createReplacement(path, folder.path + "/none", handle), EEXIST);
}

TEST(FileTest, foldersAreMadeWithThoseAboveThem) {
    CTemporaryFolder folder;
    const std::string deep = folder.path + "/a/b/c";
    EXPECT_EQ(makeFolders(deep + "/"), 0);
    EXPECT_EQ(makeFolders(deep), 0);
    EXPECT_TRUE(isFolder(deep));
    EXPECT_EQ(put(folder.path + "/file", FileMode::Rewrite, "x"), 0);
    std::filesystem::create_symlink(folder.path + "/none", folder.path + "/link");
    for (const char* blocked : {"/file", "/file/below", "/link"})
        EXPECT_EQ(makeFolders(folder.path + blocked), ENOTDIR) << blocked;
}

TEST(FileTest, theConfigurationFolderFollowsTheEnvironment) {
    const char* const cases[][3] = {
        {"/some/config/", "/home/me", "/some/config"},
        {"", "/home/me", "/home/me/.config"},
        {"relative", "/home/me/", "/home/me/.config"},
    };
    const char* before = std::getenv("HOME");
    const std::string home = before ? before : "";
    for (const auto& [config, homeFolder, expected] : cases) {
        setenv("XDG_CONFIG_HOME", config, 1);
        setenv("HOME", homeFolder, 1);
        EXPECT_EQ(userConfigFolder(), expected);
    }
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", home.c_str(), 1);
}

TEST(FileTest, theModuleKnowsItsOwnFile) {
    EXPECT_EQ(std::filesystem::canonical(modulePath()),
              std::filesystem::canonical("/proc/self/exe"));
}
