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

std::string writeThrough(const std::string& path, FileMode mode, const std::string& text) {
    int handle = kNoFile;
    uint64_t count = 0;
    EXPECT_EQ(openFile(path, mode, handle), 0);
    EXPECT_EQ(writeFile(handle, text.data(), text.size(), count), 0);
    EXPECT_EQ(count, text.size());
    EXPECT_EQ(closeFile(handle), 0);
    EXPECT_EQ(openFile(path, FileMode::Read, handle), 0);
    std::string content(100, ' ');
    EXPECT_EQ(readFile(handle, content.data(), content.size(), count), 0);
    EXPECT_EQ(closeFile(handle), 0);
    content.resize(count);
    return content;
}

} // namespace

TEST(FileTest, eachModeStartsWhereItSays) {
    CTemporaryFolder folder;
    const std::string path = folder.path + "/a";
    EXPECT_EQ(writeThrough(path, FileMode::Append, "one"), "one");
    EXPECT_EQ(writeThrough(path, FileMode::Append, "two"), "onetwo");
    EXPECT_EQ(writeThrough(path, FileMode::ReadWrite, "x"), "xnetwo");
    EXPECT_EQ(writeThrough(path, FileMode::Rewrite, "new"), "new");
    int handle = 0;
    EXPECT_EQ(openFile(path, FileMode::CreateNew, handle), EEXIST);
    EXPECT_EQ(handle, kNoFile);
    EXPECT_EQ(openFile(folder.path + "/none", FileMode::Read, handle), ENOENT);
    EXPECT_EQ(openFile(folder.path, FileMode::Read, handle), EISDIR);
}

TEST(FileTest, foldersAreMadeWithThoseAboveThem) {
    CTemporaryFolder folder;
    const std::string deep = folder.path + "/a/b/c";
    EXPECT_EQ(makeFolders(deep + "/"), 0);
    EXPECT_EQ(makeFolders(deep), 0);
    EXPECT_TRUE(isFolder(deep));
    writeThrough(folder.path + "/file", FileMode::Rewrite, "x");
    EXPECT_NE(makeFolders(folder.path + "/file"), 0);
    EXPECT_NE(makeFolders(folder.path + "/file/below"), 0);
}

TEST(FileTest, theConfigurationFolderFollowsTheEnvironment) {
    struct CCase {
        const char* config;
        const char* home;
        const char* expected;
    };
    const CCase cases[] = {
        {"/some/config/", "/home/me", "/some/config"},
        {"", "/home/me", "/home/me/.config"},
        {"relative", "/home/me/", "/home/me/.config"},
    };
    const char* before = std::getenv("HOME");
    const std::string home = before ? before : "";
    for (const CCase& c : cases) {
        setenv("XDG_CONFIG_HOME", c.config, 1);
        setenv("HOME", c.home, 1);
        EXPECT_EQ(userConfigFolder(), c.expected);
    }
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", home.c_str(), 1);
}

TEST(FileTest, theModuleKnowsItsOwnFile) {
    EXPECT_EQ(std::filesystem::canonical(modulePath()),
              std::filesystem::canonical("/proc/self/exe"));
}
