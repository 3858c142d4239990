#include "Core/CMemoryReader.h"

#include <algorithm>

namespace lum {

namespace {

/// Whether a walk of `count` bytes from `position` stays within the bytes; safe for any count.
bool isWithin(int32_t position, int64_t count, int32_t size) {
    return count <= static_cast<int64_t>(size) - position &&
           count >= -static_cast<int64_t>(position);
}

} // namespace

CErrorResult CMemoryReader::skip(int64_t count) {
    if (!isWithin(position, count, size))
        return LUM_FAIL("@lumstr_CMemoryReader_skip_EOF Premature end of memory resource while "
                        "skipping (pos %1, count %2, size %3).",
                        position, count, size);
    position += static_cast<int32_t>(count);
    return {};
}

CErrorResult CMemoryReader::read(void* buffer, int64_t count) {
    if (count < 0 || !isWithin(position, count, size))
        return LUM_FAIL("@lumstr_CMemoryReader_read_EOF Premature end of memory resource while "
                        "reading (pos %1, count %2, size %3).",
                        position, count, size);
    if (count == 0) return {};
    std::memcpy(buffer, data + position, static_cast<size_t>(count));
    position += static_cast<int32_t>(count);
    return {};
}

CErrorResult CMemoryReader::readStreamed(void* buffer, int64_t& count) {
    count = std::clamp<int64_t>(count, 0, size - position);
    return read(buffer, count);
}

CErrorResult CMemoryReader::getPosition(uint64_t& out) {
    out = static_cast<uint64_t>(position);
    return {};
}

CErrorResult CMemoryReader::setPosition(uint64_t newPosition) {
    if (newPosition > static_cast<uint64_t>(size))
        return LUM_FAIL("@lumstr_CMemoryReader_setPosition_seek Positioning beyond memory resource "
                        "end (newpos %1, size %2).",
                        newPosition, size);
    position = static_cast<int32_t>(newPosition);
    return {};
}

CErrorResult CMemoryReader::getSize(uint64_t& out) {
    out = static_cast<uint64_t>(size);
    return {};
}

} // namespace lum
