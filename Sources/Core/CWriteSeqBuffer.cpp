#include "Core/CWriteSeqBuffer.h"

#include <algorithm>

namespace lum {

namespace {

/// Sizes grow, so that a large bank needs few chunks. chunkCount: so far; remaining: bytes at hand.
int64_t nextChunkSize(size_t chunkCount, int64_t remaining) {
    const int64_t usual = chunkCount < 6 ? 2048 : chunkCount < 8 ? 16384 : 32768;
    return std::max(usual, remaining);
}

} // namespace

CWriteSeqBuffer::CWriteSeqBuffer() {
    chunks.push_back({firstChunk, 0});
}

CWriteSeqBuffer::~CWriteSeqBuffer() {
    freeChunks();
}

CErrorResult CWriteSeqBuffer::write(const void* buffer, int64_t count) {
    const auto* at = static_cast<const uint8_t*>(buffer);
    while (count > 0) {
        if (freeRoom == 0) openChunk(count);
        const int64_t part = std::min(count, freeRoom);
        std::memcpy(writePointer, at, static_cast<size_t>(part));
        writePointer += part;
        freeRoom -= part;
        at += part;
        count -= part;
    }
    return {};
}

void CWriteSeqBuffer::openChunk(int64_t remaining) {
    chunks.back().used = chunkSize - freeRoom;
    closedBytes += chunks.back().used;
    chunkSize = nextChunkSize(chunks.size(), remaining);
    freeRoom = chunkSize;
    writePointer = static_cast<uint8_t*>(pool::alloc(static_cast<size_t>(chunkSize)));
    chunks.push_back({writePointer, 0});
}

int64_t CWriteSeqBuffer::getSize() const {
    return closedBytes + chunkSize - freeRoom;
}

void CWriteSeqBuffer::reset() {
    freeChunks();
    chunks.resize(1, {firstChunk, 0});
    closedBytes = 0;
    chunkSize = kFirstChunk;
    freeRoom = kFirstChunk;
    writePointer = firstChunk;
}

void CWriteSeqBuffer::freeChunks() {
    for (size_t i = 1; i < chunks.size(); i++) pool::free(chunks[i].bytes);
}

/// visit: (bytes, count) in the order of writing; a failure ends the walk.
template <class F>
CErrorResult CWriteSeqBuffer::forEachChunk(F&& visit) const {
    for (size_t i = 0; i + 1 < chunks.size(); i++) LUM_TRY(visit(chunks[i].bytes, chunks[i].used));
    return visit(chunks.back().bytes, chunkSize - freeRoom);
}

void CWriteSeqBuffer::getBytes(CByteBuffer& out) const {
    out.resize(static_cast<size_t>(getSize()));
    uint8_t* to = out.data();
    logAndDropError(forEachChunk([&](const uint8_t* bytes, int64_t count) -> CErrorResult {
        std::memcpy(to, bytes, static_cast<size_t>(count));
        to += count;
        return {};
    }));
}

CErrorResult CWriteSeqBuffer::writeTo(COutputStream& target) const {
    return forEachChunk([&](const uint8_t* bytes, int64_t count) -> CErrorResult {
        if (count > 0) LUM_TRY(target.write(bytes, count));
        return {};
    });
}

} // namespace lum
