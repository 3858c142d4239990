#pragma once

#include "Core/CStream.h"

namespace lum {

/// Reads a block of bytes that it does not own.
class CMemoryReader : public CPosInputStream, public CLumMemAllocator {
public:
    CMemoryReader(const void* bytes, int32_t byteCount)
        : data(static_cast<const uint8_t*>(bytes)), size(byteCount > 0 ? byteCount : 0) {}
    explicit CMemoryReader(const CByteBuffer& buffer)
        : CMemoryReader(buffer.data(), static_cast<int32_t>(
                                           buffer.size() < INT32_MAX ? buffer.size() : INT32_MAX)) {
    }

    CErrorResult skip(int64_t count) override;
    CErrorResult read(void* buffer, int64_t count) override;
    CErrorResult readStreamed(void* buffer, int64_t& count) override;
    CErrorResult getPosition(uint64_t& out) override;
    CErrorResult setPosition(uint64_t newPosition) override;
    CErrorResult getSize(uint64_t& out) override;

protected:
    const uint8_t* data;
    int32_t size;
    int32_t position = 0;
};

/// The same over data that lives as long as the process: it exposes its bytes.
class CMemoryReaderStatic : public CMemoryReader {
public:
    using CMemoryReader::CMemoryReader;
    const void* getMemoryPointer() override { return position < size ? data + position : nullptr; }
};

} // namespace lum
