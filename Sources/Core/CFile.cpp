#include "Core/CFile.h"

namespace lum {

// Shared

CFileBase::~CFileBase() {
    logAndDropError(close());
}

CErrorResult CFileBase::close() {
    if (handle == platform::kNoFile) return {};
    const int code = isStandard ? 0 : platform::closeFile(handle);
    const CString closedName = std::move(fileName);
    handle = platform::kNoFile;
    isStandard = false;
    fileName.clear();
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileBase_close_CloseError "
                        "Unable to close file '%1' (error %2).",
                        closedName, code);
    return {};
}

int CFileBase::openHandle(const CString& path, platform::FileMode mode) {
    fileName = path;
    fileName.replace('\\', '/');
    return platform::openFile(fileName.toUtf8(), mode, handle);
}

void CFileBase::takeStandard(platform::StandardFile which, const char* name) {
    handle = platform::standardFile(which);
    isStandard = true;
    fileName = name;
}

CString CFileBase::giveUpName() {
    handle = platform::kNoFile;
    CString name = std::move(fileName);
    fileName.clear();
    return name;
}

CErrorResult CFileBase::getPosition(uint64_t& out) {
    const int code = platform::tellFile(handle, out);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileBase_getPosition_PosError "
                        "Unable to get file's '%1' position (error %2).",
                        fileName, code);
    return {};
}

CErrorResult CFileBase::setPosition(uint64_t position) {
    const int code = platform::seekFile(handle, position);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileBase_setPosition_PosError "
                        "Unable to set file's '%1' position to %2 (error %3).",
                        fileName, position, code);
    return {};
}

CErrorResult CFileBase::getSize(uint64_t& out) {
    const int code = platform::sizeOfFile(handle, out);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileBase_getSize_FileSizeError "
                        "Unable to get file's '%1' size (error %2).",
                        fileName, code);
    return {};
}

// Reader

CErrorResult CFileReader::open(const CString& path, bool isReadWrite) {
    LUM_TRY(close());
    if (path == "*") {
        takeStandard(platform::StandardFile::Input, "stdin");
        return {};
    }
    const int code =
        openHandle(path, isReadWrite ? platform::FileMode::ReadWrite : platform::FileMode::Read);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileReader_open_OpenError "
                        "Unable to open file '%1' for reading (error %2).",
                        giveUpName(), code);
    return {};
}

CErrorResult CFileReader::skip(int64_t count) {
    const int code = platform::skipFile(handle, count);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileReader_skip_PosError "
                        "Unable to increment file's '%1' position by %2 (error %3).",
                        fileName, count, code);
    return {};
}

CErrorResult CFileReader::read(void* buffer, int64_t count) {
    if (count < 0) count = 0;
    uint64_t got = 0;
    const int code = platform::readFile(handle, buffer, static_cast<uint64_t>(count), got);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileReader_read_ReadError "
                        "Unable to read from file '%1' (error %2).",
                        fileName, code);
    if (got != static_cast<uint64_t>(count))
        return LUM_FAIL("@lumstr_CFileReader_read_ReadBeyondEnd Unable to read from file '%1' "
                        "(required %2 bytes, read %3 bytes).",
                        fileName, count, got);
    return {};
}

CErrorResult CFileReader::readStreamed(void* buffer, int64_t& count) {
    uint64_t got = 0;
    const auto wanted = static_cast<uint64_t>(count > 0 ? count : 0);
    count = 0;
    const int code = platform::readFile(handle, buffer, wanted, got);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileReader_readStreamed_ReadError "
                        "Unable to read from file '%1' (error %2).",
                        fileName, code);
    count = static_cast<int64_t>(got);
    return {};
}

// Writer

CErrorResult CFileWriter::open(const CString& path, bool isAppending) {
    LUM_TRY(close());
    if (path == "*" || path == "*e") {
        const bool isOutput = path == "*";
        takeStandard(isOutput ? platform::StandardFile::Output : platform::StandardFile::Error,
                     isOutput ? "stdout" : "stderr");
        return {};
    }
    const int code =
        openHandle(path, isAppending ? platform::FileMode::Append : platform::FileMode::Rewrite);
    if (code != 0) return openFailure(giveUpName(), isAppending, code);
    return {};
}

CErrorResult CFileWriter::openFailure(const CString& path, bool isAppending, int code) {
    return LUM_FAIL("@lumstr_CFileWriter_open_OpenError "
                    "Unable to open file '%1' for %2 (error %3).",
                    path, isAppending ? "appending" : "rewriting", code);
}

CErrorResult CFileWriter::write(const void* buffer, int64_t count) {
    if (count < 0) count = 0;
    uint64_t written = 0;
    const int code = platform::writeFile(handle, buffer, static_cast<uint64_t>(count), written);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileWriter_write_WriteError "
                        "Unable to write to file '%1' (error %2).",
                        fileName, code);
    if (written != static_cast<uint64_t>(count))
        return LUM_FAIL("@lumstr_CFileWriter_write_WriteErrorCount Unable to write to file '%1' "
                        "(required %2 bytes, written %3 bytes).",
                        fileName, count, written);
    return {};
}

CErrorResult CFileWriter::flush() {
    const int code = platform::flushFile(handle);
    if (code != 0)
        return LUM_FAIL("@lumstr_CFileWriter_flush_FlushError "
                        "Unable to flush file '%1' (error %2).",
                        fileName, code);
    return {};
}

} // namespace lum
