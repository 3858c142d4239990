#pragma once

#include "Core/CFile.h"

#include <string>

namespace lum {

/// Writes a file that is never seen half-written: the bytes go to a new file beside it, `commit`
/// brings them to the disk and puts them in the place of the old file in one step. Without a
/// `commit`, or when it fails, the old file stays as it was and the new one is removed. A process
/// killed on the way leaves the old or the new file whole, and perhaps a hidden file beside it,
/// which the first commit into the folder after an hour removes; the files of writers at work stay,
/// also of those on other machines. Of two writers at once the later commit stays. Behind a link
/// the linked file is replaced, or made; the new file has the old one's rights and, where the
/// system allows it, its owner. What is no file, as a folder or a device, and what may not be
/// written, is refused. Messages name the file, not the one beside it. One user at a time; not for
/// the audio thread.
class CAtomicFileWriter : public CFileWriter {
public:
    ~CAtomicFileWriter() override;
    /// Starts a new content for the file. Errors are those of CFileWriter::open for rewriting.
    CErrorResult open(const CString& path);
    /// Makes what was written the file's content and closes.
    CErrorResult commit();
    /// Drops what was written and closes.
    void cancel();

private:
    int openBeside(const std::string& path); // 0 or the system's error code
    int createClaimed();
    void dropClaim();
    CErrorResult closeAndRename();

    std::string targetPath;
    std::string temporaryPath;     // empty when closed
    int claim = platform::kNoFile; // on the file beside, from its creation until it has its name
};

} // namespace lum
