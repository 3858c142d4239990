#pragma once

#include <cstdint>
#include <string>

/// Files and places of the system. Paths are UTF-8 with "/" as separator. Error codes are the
/// system's own numbers, 0 for success.
namespace lum::platform {

enum class FileMode {
    Read,      // must exist
    ReadWrite, // made when missing
    Rewrite,   // made when missing, emptied
    Append,    // made when missing; writing starts at its end
};
enum class StandardFile { Input, Output, Error };

constexpr int kNoFile = -1;

/// A folder is refused with EISDIR; a pipe or a device with ESPIPE where the mode reads, and at
/// once.
int openFile(const std::string& path, FileMode mode, int& handle) noexcept;
int standardFile(StandardFile which) noexcept;
int closeFile(int handle) noexcept;
/// Reads up to `count` bytes, fewer only at the end of the file.
int readFile(int handle, void* buffer, uint64_t count, uint64_t& got) noexcept;
int writeFile(int handle, const void* buffer, uint64_t count, uint64_t& written) noexcept;
int seekFile(int handle, uint64_t position) noexcept;
int skipFile(int handle, int64_t distance) noexcept;
int tellFile(int handle, uint64_t& position) noexcept;
int sizeOfFile(int handle, uint64_t& size) noexcept;
/// Brings what was written to the disk.
int flushFile(int handle) noexcept;

/// The file whose place a new one for `path` takes: behind links, also behind one to a missing
/// file, so that a link stays one. Fails for what is no file, such as a folder or a device, and for
/// a file that may not be written.
int findReplaced(const std::string& path, std::string& file) noexcept;
/// Makes a file for writing that is to take the place of `replaced`, with that one's rights and, as
/// far as the system allows, its group and owner; where there is none, with those of any new file.
/// EEXIST when `path` exists, whoever else asks for it at the same time.
int createReplacement(const std::string& path, const std::string& replaced, int& handle) noexcept;
int renameFile(const std::string& from, const std::string& to) noexcept; // replaces `to` whole
int removeFile(const std::string& path) noexcept;

/// Claims a new file for as long as the process lives or until `claim` is closed: nobody's
/// removeUnclaimed then takes it. EEXIST when one is taking it right now. A file system without
/// locks gives success and kNoFile; nobody removes anything there.
int claimFile(int handle, int& claim) noexcept;
/// Removes the files of a folder, ending in "/" or empty for the present one, whose names
/// `isCandidate` accepts, which no living process of any user has claimed, and which nobody has
/// written to for an hour. Links, folders and what may not be opened stay.
void removeUnclaimed(const std::string& folder, bool (*isCandidate)(const std::string& name));
bool isFolder(const std::string& path) noexcept;
/// Makes the folder and those above it.
int makeFolders(const std::string& path) noexcept;

/// The file this code was loaded from. Empty when the system does not tell.
std::string modulePath();
/// The user's configuration folder, without a "/" at its end: $XDG_CONFIG_HOME, else ".config" in
/// the home folder. Empty when neither is known.
std::string userConfigFolder();

} // namespace lum::platform
