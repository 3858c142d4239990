#pragma once

#include "Core/CStream.h"

namespace lum {

/// The memory output stream: collects bytes in a chain of chunks and never copies what was written.
class CWriteSeqBuffer : public COutputStream, public CLumMemAllocator {
public:
    CWriteSeqBuffer();
    ~CWriteSeqBuffer() override;
    CWriteSeqBuffer(const CWriteSeqBuffer&) = delete;
    CWriteSeqBuffer& operator=(const CWriteSeqBuffer&) = delete;

    CErrorResult write(const void* buffer, int64_t count) override;
    /// Bytes written so far.
    int64_t getSize() const;
    /// Drops all chunks but the first and starts over.
    void reset();
    /// Copies everything into one buffer.
    void getBytes(CByteBuffer& out) const;
    /// Writes each chunk in order.
    CErrorResult writeTo(COutputStream& target) const;
    int chunkCount() const { return chunks.ssize(); }

private:
    struct CChunk {
        uint8_t* bytes;
        int64_t used; // of the present chunk: not before it is closed
    };
    static constexpr int64_t kFirstChunk = 1024; // bytes, inside the object
    void openChunk(int64_t remaining);
    void freeChunks();
    template <class F>
    CErrorResult forEachChunk(F&& visit) const;

    int64_t closedBytes = 0; // in all chunks but the present one

    int64_t chunkSize = kFirstChunk; // of the present chunk
    int64_t freeRoom = kFirstChunk;
    uint8_t* writePointer = firstChunk;
    CVector<CChunk, 4> chunks;
    uint8_t firstChunk[kFirstChunk];
};

} // namespace lum
