#include "Core/CAtomicFileWriter.h"

#include <atomic>
#include <cerrno>
#include <chrono>

namespace lum {

namespace {

constexpr int kNameTries = 100;

/// A name in the same folder that others hardly take; the exclusive creation of the file decides.
/// It is short whatever the file's name, so that every name the system takes can be written.
std::string besideName(const std::string& path) {
    static std::atomic<uint64_t> counter{0};
    const auto ticks =
        static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    const uint64_t mixed = (ticks + (counter.fetch_add(1) << 20)) * 0x9E3779B97F4A7C15u;
    const std::string folder = path.substr(0, path.rfind('/') + 1); // empty for the present folder
    return folder + "." + std::to_string(mixed >> 20) + ".tmp";
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
    for (int i = 0; i < kNameTries; i++) {
        std::string beside = besideName(targetPath);
        code = platform::openFile(beside, platform::FileMode::CreateNew, handle);
        if (code == 0) temporaryPath = std::move(beside);
        if (code != EEXIST) break;
    }
    if (code != 0) handle = platform::kNoFile;
    return code;
}

CErrorResult CAtomicFileWriter::commit() {
    if (temporaryPath.empty()) return {};
    if (CErrorResult failure = closeAndRename()) {
        cancel();
        return addError(std::move(failure), __FILE__, __LINE__, traceName());
    }
    temporaryPath.clear();
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
}

} // namespace lum
