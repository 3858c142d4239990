#pragma once

#include "Core/CStream.h"
#include "Platform/File.h"

namespace lum {

/// A file of the system, the only contact with it for data. Closed, or open until `close` or the
/// destructor. "\" in paths becomes "/". One user at a time.
class CFileBase : public virtual CPosStream {
public:
    ~CFileBase() override;
    CErrorResult close();
    CErrorResult getPosition(uint64_t& out) override;
    CErrorResult setPosition(uint64_t position) override;
    CErrorResult getSize(uint64_t& out) override;
    const CString& getFileName() const { return fileName; } // empty when closed

protected:
    int openHandle(const CString& path, platform::FileMode mode); // 0 or the system's error code
    void takeStandard(platform::StandardFile which, const char* name);
    CString giveUpName(); // leaves the object closed after a failed open
    int handle = platform::kNoFile;
    bool isStandard = false;
    CString fileName;
};

/// "*" is the standard input, which may be a pipe or a device; a path to one does not open.
class CFileReader : public CPosInputStream, public CFileBase, public CLumMemAllocator {
public:
    CErrorResult open(const CString& path, bool isReadWrite = false);
    CErrorResult skip(int64_t count) override;
    CErrorResult read(void* buffer, int64_t count) override;
    CErrorResult readStreamed(void* buffer, int64_t& count) override;
};

/// "*" is the standard output, "*e" the standard error.
class CFileWriter : public CPosOutputStream, public CFileBase, public CLumMemAllocator {
public:
    CErrorResult open(const CString& path, bool isAppending);
    CErrorResult write(const void* buffer, int64_t count) override;
    /// Brings what was written to the disk.
    CErrorResult flush();

protected:
    CErrorResult openFailure(const CString& path, bool isAppending, int code);
};

} // namespace lum
