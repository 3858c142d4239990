#include "Platform/File.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace lum::platform {

namespace {

constexpr mode_t kFileRights = 0666; // the process's mask takes away from these
constexpr mode_t kAllRights = 0777;  // without those of running as somebody else
constexpr mode_t kFolderRights = 0777;
constexpr time_t kLeftoverAge = 3600; // seconds since its writer last wrote
constexpr int kMostLinks = 40;        // one behind the other; the system follows no more either

int flagsOf(FileMode mode) {
    switch (mode) {
    case FileMode::Read:
        return O_RDONLY | O_NONBLOCK;
    case FileMode::ReadWrite:
        return O_RDWR | O_CREAT | O_NONBLOCK;
    case FileMode::Rewrite:
        return O_WRONLY | O_CREAT | O_TRUNC;
    case FileMode::Append:
        return O_WRONLY | O_CREAT;
    }
    return O_RDONLY;
}

/// Code of a call that gives a negative number on failure.
int codeOf(int64_t result) {
    return result < 0 ? errno : 0;
}

/// A pipe is opened for reading without a wait for somebody at its other end.
int openNow(const char* path, int flags) {
    const int handle = open(path, flags | O_CLOEXEC, kFileRights);
    struct stat info {};
    if (handle >= 0 || errno != EWOULDBLOCK || stat(path, &info) != 0 || !S_ISREG(info.st_mode))
        return handle;
    // A file that another program has a lease on (a file server, say) does come within a while.
    return open(path, (flags & ~O_NONBLOCK) | O_CLOEXEC, kFileRights);
}

/// A folder can be opened for reading like a file, but is none. Pipes and devices are for writing
/// alone: their reader would wait for as long as nobody writes.
int refuseNoFile(int handle, FileMode mode) {
    struct stat info {};
    if (fstat(handle, &info) != 0) return errno;
    if (S_ISDIR(info.st_mode)) return EISDIR;
    const bool isRead = mode == FileMode::Read || mode == FileMode::ReadWrite;
    return isRead && !S_ISREG(info.st_mode) ? ESPIPE : 0;
}

/// Repeats `transfer(done)` until `count` bytes are through, or it gives 0 (the end) or fails.
template <class Transfer>
int transferAll(uint64_t count, uint64_t& done, Transfer transfer) {
    done = 0;
    while (done < count) {
        const ssize_t n = transfer(done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return errno;
        if (n == 0) break;
        done += static_cast<uint64_t>(n);
    }
    return 0;
}

std::string homeFolder() {
    const char* home = std::getenv("HOME");
    if (home && *home == '/') return home;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    return found && found->pw_dir ? found->pw_dir : "";
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// The file that a write to `path` would make: `path`, unless links lead to a missing one.
std::string behindLinks(std::string path) {
    char target[PATH_MAX];
    for (int i = 0; i < kMostLinks; i++) {
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length <= 0) break; // no link
        const std::string_view next(target, static_cast<size_t>(length));
        if (next[0] == '/') path.clear();
        path.erase(path.rfind('/') + 1).append(next); // from the link's own folder
    }
    return path;
}

/// Gives a file the group, owner and rights of another. What is refused stays as it is: not
/// everybody may give files away, and some file systems know no rights.
void takeOver(int handle, const struct stat& other) {
    // Apart, as the group may be allowed where the owner is not. A new owner may take rights away.
    (void)codeOf(fchown(handle, static_cast<uid_t>(-1), other.st_gid));
    (void)codeOf(fchown(handle, other.st_uid, static_cast<gid_t>(-1)));
    (void)codeOf(fchmod(handle, other.st_mode & kAllRights));
}

/// The lock of a claim belongs to the open file, so the system drops it with the process. Whoever
/// has the lock removes the file, and by then its name must still be the file's. A folder of the
/// network may have writers on other machines, whose locks are not seen here: the age tells.
void removeIfUnclaimed(int folder, const char* name) {
    const int handle = openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (handle < 0) return;
    struct stat opened {};
    struct stat named {};
    if (fstat(handle, &opened) == 0 && S_ISREG(opened.st_mode) &&
        opened.st_mtime <= time(nullptr) - kLeftoverAge && flock(handle, LOCK_EX | LOCK_NB) == 0 &&
        fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 && isSameFile(opened, named))
        unlinkat(folder, name, 0);
    close(handle);
}

/// Path of a loaded file as the loader names it, links kept: what lies beside it is beside the
/// link.
std::string absolute(const std::string& name) {
    char buffer[PATH_MAX];
    if (name.find('/') == std::string::npos) {
        // A program is named by the word it was called with, which need not be a path.
        return realpath("/proc/self/exe", buffer) ? buffer : "";
    }
    if (name[0] == '/') return name;
    if (!getcwd(buffer, sizeof buffer)) return {};
    const size_t start = name.rfind("./", 0) == 0 ? 2 : 0;
    return std::string(buffer) + "/" + name.substr(start);
}

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

} // namespace

int openFile(const std::string& path, FileMode mode, int& handle) noexcept {
    handle = kNoFile;
    const int opened = openNow(path.c_str(), flagsOf(mode));
    if (opened < 0) return errno;
    int code = refuseNoFile(opened, mode);
    if (code == 0 && mode == FileMode::Append) {
        // A pipe or a device has no end to go to, and takes bytes where it is.
        code = codeOf(lseek(opened, 0, SEEK_END));
        if (code == ESPIPE) code = 0;
    }
    if (code != 0) {
        close(opened);
        return code;
    }
    posix_fadvise(opened, 0, 0, POSIX_FADV_SEQUENTIAL); // a hint; refusal is no failure
    handle = opened;
    return 0;
}

int standardFile(StandardFile which) noexcept {
    switch (which) {
    case StandardFile::Input:
        return STDIN_FILENO;
    case StandardFile::Output:
        return STDOUT_FILENO;
    case StandardFile::Error:
        return STDERR_FILENO;
    }
    return kNoFile;
}

int closeFile(int handle) noexcept {
    return codeOf(close(handle));
}

int readFile(int handle, void* buffer, uint64_t count, uint64_t& got) noexcept {
    return transferAll(count, got, [&](uint64_t done) {
        return read(handle, static_cast<char*>(buffer) + done, count - done);
    });
}

int writeFile(int handle, const void* buffer, uint64_t count, uint64_t& written) noexcept {
    return transferAll(count, written, [&](uint64_t done) {
        return write(handle, static_cast<const char*>(buffer) + done, count - done);
    });
}

int seekFile(int handle, uint64_t position) noexcept {
    if (position > static_cast<uint64_t>(INT64_MAX)) return EINVAL;
    return codeOf(lseek(handle, static_cast<off_t>(position), SEEK_SET));
}

int skipFile(int handle, int64_t distance) noexcept {
    return codeOf(lseek(handle, static_cast<off_t>(distance), SEEK_CUR));
}

int tellFile(int handle, uint64_t& position) noexcept {
    const off_t place = lseek(handle, 0, SEEK_CUR);
    position = place < 0 ? 0 : static_cast<uint64_t>(place);
    return codeOf(place);
}

int sizeOfFile(int handle, uint64_t& size) noexcept {
    struct stat info {};
    const int result = fstat(handle, &info);
    size = result < 0 ? 0 : static_cast<uint64_t>(info.st_size);
    return codeOf(result);
}

int flushFile(int handle) noexcept {
    // Some file systems have nothing to flush to, and say that the call is not for them.
    const int code = codeOf(fsync(handle));
    return code == EINVAL || code == ENOSYS ? 0 : code;
}

int findReplaced(const std::string& path, std::string& file) noexcept {
    file = path;
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        if (errno != ENOENT) return errno;
        file = behindLinks(path);
        return 0;
    }
    if (S_ISDIR(info.st_mode)) return EISDIR;
    if (!S_ISREG(info.st_mode)) return EINVAL;
    // The folder alone decides about a replacement, but a protected file is not to be changed.
    if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return errno;
    char resolved[PATH_MAX];
    if (!realpath(path.c_str(), resolved)) return errno;
    file = resolved;
    return 0;
}

int createReplacement(const std::string& path, const std::string& replaced, int& handle) noexcept {
    struct stat old {};
    const bool isOld = stat(replaced.c_str(), &old) == 0;
    // Never more rights than in the end: what a private file held is private from the start.
    const mode_t rights = isOld ? old.st_mode & kFileRights : kFileRights;
    handle = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, rights);
    if (handle < 0) return errno;
    if (isOld) takeOver(handle, old);
    return 0;
}

int renameFile(const std::string& from, const std::string& to) noexcept {
    return codeOf(std::rename(from.c_str(), to.c_str()));
}

int removeFile(const std::string& path) noexcept {
    return codeOf(unlink(path.c_str()));
}

int claimFile(int handle, int& claim) noexcept {
    claim = kNoFile;
    if (flock(handle, LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK ? EEXIST : 0;
    struct stat info {};
    if (fstat(handle, &info) == 0 && info.st_nlink == 0) return EEXIST; // was taken before the lock
    claim = fcntl(handle, F_DUPFD_CLOEXEC, 0);
    return codeOf(claim);
}

void removeUnclaimed(const std::string& folder, bool (*isCandidate)(const std::string& name)) {
    DIR* entries = opendir(folder.empty() ? "." : folder.c_str());
    if (!entries) return;
    while (const dirent* entry = readdir(entries))
        if (isCandidate(entry->d_name)) removeIfUnclaimed(dirfd(entries), entry->d_name);
    closedir(entries);
}

bool isFolder(const std::string& path) noexcept {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

int makeFolders(const std::string& path) noexcept {
    for (size_t end = 1; end <= path.size(); end++) {
        if (end < path.size() && path[end] != '/') continue;
        const std::string part = path.substr(0, end);
        const int code = codeOf(mkdir(part.c_str(), kFolderRights));
        if (code != 0 && !isFolder(part)) return code == EEXIST ? ENOTDIR : code;
    }
    return 0;
}

std::string modulePath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&modulePath), &info) == 0 || !info.dli_fname)
        return {};
    return absolute(info.dli_fname);
}

std::string userConfigFolder() {
    // A relative path in the variable is to be ignored by its definition.
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config == '/') return withoutSlash(config);
    const std::string home = homeFolder();
    return home.empty() ? home : withoutSlash(home) + "/.config";
}

} // namespace lum::platform
