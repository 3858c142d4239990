#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CCheckedObject.h"
#include "Core/CError.h"

#include <cstdint>
#include <type_traits>

namespace lum {

constexpr int32_t kLongestStreamString = 61440; // bytes of UTF-8

/// Block ids: four ASCII characters as a little-endian number, first character in the low byte.
constexpr uint32_t blockId(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<unsigned char>(text[0])) |
           static_cast<uint32_t>(static_cast<unsigned char>(text[1])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[2])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[3])) << 24;
}
constexpr uint32_t kBankBlock = blockId("abnk");
constexpr uint32_t kPresetBlock = blockId("aprs");
constexpr uint32_t kDataBlock = blockId("adat");
constexpr uint32_t kStringBlock = blockId("dstr");
constexpr uint32_t kListBlock = blockId("alst");
constexpr uint32_t kImagePageBlock = 0; // LZ4 form

template <class T>
concept PlainNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;

/// Source of bytes. Numbers are little-endian. One user at a time.
class CInputStream : public virtual CCheckedObject {
public:
    /// Address of the unread bytes where they lie in memory that stays valid, else null.
    virtual const void* getMemoryPointer() { return nullptr; }
    virtual CErrorResult skip(int64_t count);
    /// Reads exactly `count` bytes or fails.
    virtual CErrorResult read(void* buffer, int64_t count) = 0;
    /// Reads up to `count` bytes and stores how many; 0 at the end is no failure.
    virtual CErrorResult readStreamed(void* buffer, int64_t& count);
    /// Bytes known to be left, -1 when the stream cannot tell. Readers of counted data check a
    /// declared count against it before they allocate or loop.
    virtual int64_t bytesLeft() { return -1; }

    template <PlainNumber T>
    CErrorResult readValue(T& out) {
        return read(&out, sizeof(T));
    }
    CErrorResult readValue(bool& out); // one byte
    /// A 32-bit length of at most kLongestStreamString and UTF-8 text; any other bytes give some
    /// text.
    CErrorResult readString(CString& out);
    /// Replaces `out` by a compressed block's content, undefined on failure. A block that declares
    /// more than the bytes left and 8 MiB is refused before memory is taken. The zlib form is read
    /// and checked to its end, drops what goes beyond its size, and is the last thing of a source.
    CErrorResult readCompressedData(CByteBuffer& out, uint32_t expectedId);
    CErrorResult readCompressedDataLZ4(CByteBuffer& out, uint32_t expectedId);

private:
    CErrorResult readLZ4Body(CByteBuffer& out, int32_t size, int32_t packedSize);
};

/// Sink of bytes.
class COutputStream : public virtual CCheckedObject {
public:
    /// Writes exactly `count` bytes or fails.
    virtual CErrorResult write(const void* buffer, int64_t count) = 0;
    virtual CErrorResult writeUTF8(const char* text, bool withTerminator);
    virtual CErrorResult writeUTF8(const char16_t* text, bool withTerminator);

    template <PlainNumber T>
    CErrorResult writeValue(T value) {
        return write(&value, sizeof(T));
    }
    CErrorResult writeValue(bool value);
    CErrorResult writeString(const CString& text);
    CErrorResult writeCompressedData(const CByteBuffer& data, uint32_t id);
    CErrorResult writeCompressedDataLZ4(const CByteBuffer& data, uint32_t id);
};

/// A stream with a position.
class CPosStream : public virtual CCheckedObject {
public:
    virtual CErrorResult getPosition(uint64_t& out) = 0;
    virtual CErrorResult setPosition(uint64_t position) = 0;
    virtual CErrorResult getSize(uint64_t& out) = 0;
    /// As the above; values that do not fit 31 bits fail.
    CErrorResult getPositionInt(int32_t& out);
    CErrorResult getSizeInt(int32_t& out);
};

class CPosInputStream : public CInputStream, public virtual CPosStream {
public:
    int64_t bytesLeft() override;
};

class CPosOutputStream : public COutputStream, public virtual CPosStream {};

} // namespace lum
