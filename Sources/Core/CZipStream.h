#pragma once

#include "Core/CStream.h"

#include <zlib.h>

namespace lum {

/// Holds one zlib stream record, whose memory comes from the pool.
class CZipStream : public virtual CCheckedObject {
protected:
    CZipStream();
    const char* zipMessage() const; // zlib's own text, or empty
    static constexpr int kBufferBytes = 32768;
    z_stream zip;
};

/// Inflates what a source holds. May read up to 32,768 bytes of the source beyond the end of the
/// zlib data, so that data is the last thing read from it.
class CInputZipStream : public CInputStream, public CZipStream, public CLumMemAllocator {
public:
    ~CInputZipStream() override;
    CErrorResult open(CInputStream& source); // not owned; closes first
    CErrorResult close();
    CErrorResult read(void* buffer, int64_t count) override;
    /// Reads what is left of the data and drops it, up to the check of all the data at its end.
    /// Error: the check fails or is cut off, or more than `most` bytes are left.
    CErrorResult finish(int64_t most);

private:
    CErrorResult inflateStep();
    CErrorResult fill();
    CErrorResult refill();
    CErrorResult endOfFile();

    CInputStream* source = nullptr;
    bool isEnded = false; // the end of the data has been read and checked
    uint8_t buffer[kBufferBytes];
};

/// Deflates into a target.
class COutputZipStream : public COutputStream, public CZipStream, public CLumMemAllocator {
public:
    ~COutputZipStream() override;
    CErrorResult open(COutputStream& target, int level); // not owned; closes first
    CErrorResult close();
    CErrorResult write(const void* buffer, int64_t count) override;

private:
    CErrorResult deflateStep();
    CErrorResult finish();
    CErrorResult flushBuffer();

    COutputStream* target = nullptr;
    uint8_t buffer[kBufferBytes];
};

} // namespace lum
