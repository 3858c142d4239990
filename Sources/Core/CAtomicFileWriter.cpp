#include "Core/CAtomicFileWriter.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <utility>

namespace lum {

namespace {

constexpr int kNameTries = 100;

// Nobody else gives a file such a name: what bears it and is claimed by no process is a leftover.
constexpr std::string_view kNameHead = ".lumeron-write-";
constexpr std::string_view kNameTail = ".tmp";

bool isTemporaryName(const std::string& name) {
    if (!name.starts_with(kNameHead) || !name.ends_with(kNameTail)) return false;
    if (name.size() <= kNameHead.size() + kNameTail.size()) return false;
    return std::all_of(name.begin() + kNameHead.size(), name.end() - kNameTail.size(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1); // empty for the present folder
}

/// A name in the same folder that others hardly take; the exclusive creation of the file decides.
/// It is short whatever the file's name, so that every name the system takes can be written.
std::string besideName(const std::string& path) {
    static std::atomic<uint64_t> counter{0};
    const auto ticks =
        static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    const uint64_t mixed = (ticks + (counter.fetch_add(1) << 20)) * 0x9E3779B97F4A7C15u;
    return folderOf(path).append(kNameHead).append(std::to_string(mixed >> 20)).append(kNameTail);
}

} // namespace

CAtomicFileWriter::~CAtomicFileWriter() {
    cancel();
}

CErrorResult CAtomicFileWriter::open(const CString& path) {
    cancel();
    CString name = path;
    name.replace('\\', '/');
    const int code = openBeside(name.toUtf8());
    if (code != 0) return openFailure(name, false, code);
    fileName = std::move(name);
    return {};
}

int CAtomicFileWriter::openBeside(const std::string& path) {
    // What cannot be replaced would only be noticed when it is too late to tell in the usual words.
    int code = platform::findReplaced(path, targetPath);
    if (code != 0) return code;
    code = EEXIST;
    for (int i = 0; i < kNameTries && code == EEXIST; i++) code = createClaimed();
    return code;
}

/// EEXIST when another name is to be tried.
int CAtomicFileWriter::createClaimed() {
    std::string beside = besideName(targetPath);
    int code = platform::createReplacement(beside, targetPath, handle);
    if (code != 0) return code;
    code = platform::claimFile(handle, claim);
    if (code != 0) {
        platform::closeFile(std::exchange(handle, platform::kNoFile));
        if (code != EEXIST) platform::removeFile(beside);
        return code;
    }
    temporaryPath = std::move(beside);
    return 0;
}

void CAtomicFileWriter::dropClaim() {
    if (claim != platform::kNoFile) platform::closeFile(std::exchange(claim, platform::kNoFile));
}

CErrorResult CAtomicFileWriter::commit() {
    if (temporaryPath.empty()) return {};
    if (CErrorResult failure = closeAndRename()) {
        cancel();
        return addError(std::move(failure), __FILE__, __LINE__, traceName());
    }
    temporaryPath.clear();
    dropClaim();
    platform::removeUnclaimed(folderOf(targetPath), &isTemporaryName);
    return {};
}

CErrorResult CAtomicFileWriter::closeAndRename() {
    LUM_TRY(flush());
    LUM_TRY(close());
    const int code = platform::renameFile(temporaryPath, targetPath);
    if (code != 0)
        return LUM_FAIL("@lumstr_CAtomicFileWriter_commit_RenameError "
                        "Unable to replace file '%1' (error %2).",
                        CString::fromUtf8(targetPath), code);
    return {};
}

void CAtomicFileWriter::cancel() {
    if (temporaryPath.empty()) return;
    logAndDropError(close());
    platform::removeFile(temporaryPath); // may have failed with the disk; there is nothing to add
    temporaryPath.clear();
    dropClaim();
}

} // namespace lum
