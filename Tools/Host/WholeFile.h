/// Files that are read at once, and files that appear under their name only when they are whole.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lum::host {

/// A file in the making: it is written under a hidden name in the target's folder and takes the
/// target's name in commit(). An object that dies before leaves nothing behind.
class PartialFile {
public:
    /// Throws Failure when the target is no ordinary file or its folder cannot be written to.
    explicit PartialFile(const std::filesystem::path& target);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    int descriptor() const { return descriptor_; }
    /// Brings the file to the disk and puts it in the place of an old one. Throws Failure.
    void commit();
    /// Throws Failure: the target cannot be written, for this reason.
    [[noreturn]] void fail(const std::string& reason) const;

private:
    std::filesystem::path target_;
    std::filesystem::path partial_; // empty once committed
    int descriptor_ = -1;
};

/// The bytes of a file. Throws Failure, also for a file larger than any state of a plug-in.
std::string readWholeFile(const std::filesystem::path& path);

/// Writes the bytes as a file, whole or not at all; into a pipe or device as it is. Throws Failure.
void writeWholeFile(const std::filesystem::path& path, std::string_view bytes);

/// "/dir/name" with the quotes.
std::string quoted(const std::filesystem::path& path);

} // namespace lum::host
