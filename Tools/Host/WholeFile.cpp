#include "Host/WholeFile.h"

#include "Host/Failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace lum::host {

namespace {

constexpr int kNameTries = 100;
constexpr std::size_t kLargestFile = 64U << 20U; // bytes; no plug-in keeps near as much

bool isOrdinaryOrMissing(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    return !std::filesystem::exists(status) || std::filesystem::is_regular_file(status);
}

/// Short, so that every name that the system takes as a target can be written.
std::filesystem::path besideName(const std::filesystem::path& target) {
    static int counter = 0;
    return target.parent_path() /
           (".sorrel-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".part");
}

void writeAll(int descriptor, std::string_view bytes, const PartialFile& file) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) file.fail(std::strerror(errno));
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace

PartialFile::PartialFile(const std::filesystem::path& target) : target_(target) {
    if (!isOrdinaryOrMissing(target)) {
        throw Failure(quoted(target) + " exists and is no ordinary file");
    }
    for (int i = 0; i < kNameTries && descriptor_ < 0; ++i) {
        partial_ = besideName(target);
        descriptor_ = open(partial_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor_ < 0 && errno != EEXIST) break;
    }
    if (descriptor_ < 0) fail(std::strerror(errno));
}

PartialFile::~PartialFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!partial_.empty()) unlink(partial_.c_str());
}

void PartialFile::commit() {
    if (fsync(descriptor_) != 0) fail(std::strerror(errno));
    if (close(std::exchange(descriptor_, -1)) != 0) fail(std::strerror(errno));
    if (std::rename(partial_.c_str(), target_.c_str()) != 0) fail(std::strerror(errno));
    partial_.clear();
}

void PartialFile::fail(const std::string& reason) const {
    throw Failure("cannot write " + quoted(target_) + ": " + reason);
}

std::string readWholeFile(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) throw Failure(quoted(path) + " is a folder");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure("cannot read " + quoted(path) + ": " + std::strerror(errno));
    std::string bytes;
    for (char block[1 << 16]; file.read(block, sizeof block), file.gcount() > 0;) {
        bytes.append(block, static_cast<std::size_t>(file.gcount()));
        if (bytes.size() > kLargestFile) throw Failure(quoted(path) + " is too large for a state");
    }
    if (file.bad()) throw Failure("reading " + quoted(path) + " failed");
    return bytes;
}

void writeWholeFile(const std::filesystem::path& path, std::string_view bytes) {
    if (isOrdinaryOrMissing(path)) {
        PartialFile file(path);
        writeAll(file.descriptor(), bytes, file);
        return file.commit();
    }
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    if (!file) throw Failure("cannot write " + quoted(path) + ": " + std::strerror(errno));
}

std::string quoted(const std::filesystem::path& path) {
    return "\"" + path.string() + "\"";
}

} // namespace lum::host
