#include "Core/CStream.h"

#include "Core/CWriteSeqBuffer.h"
#include "Core/CZipStream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <lz4.h>
#include <lz4hc.h>
#include <string_view>

namespace lum {

namespace {

constexpr int64_t kSkipBlock = 32768;     // bytes
constexpr int64_t kTextBlock = 512;       // bytes staged by writeUTF8
constexpr int kZipLevel = 5;              // of compressed data
constexpr int kLZ4Level = 12;             // the best that the format's packer does
constexpr int64_t kLargestLZ4Ratio = 255; // unpacked bytes that one packed byte can stand for
constexpr uint32_t kFirstSurrogate = 0xD800;
constexpr uint32_t kLastSurrogate = 0xDFFF;

/// Bytes that a block may unpack to beyond the packed bytes at hand. Sizes in a header are not
/// protected against forging, and a few kilobytes of a packed constant unpack to any size. Readers
/// hold the content in several forms at once, so this is a small part of the 64 MiB that all of
/// them may take; the largest block of the system, a palette list, has 150 KB.
constexpr int64_t kUnpackAllowance = 8 * 1024 * 1024;

uint32_t adlerOf(const void* bytes, size_t count) {
    return static_cast<uint32_t>(adler32(adler32(0, nullptr, 0), static_cast<const Bytef*>(bytes),
                                         static_cast<uInt>(count)));
}

/// Whether a block may be given memory for its declared size. left: of the source, -1 unknown.
bool isSizeAllowed(int64_t unpackedBytes, int64_t left) {
    return unpackedBytes >= 0 && unpackedBytes <= std::max<int64_t>(left, 0) + kUnpackAllowance;
}

/// Stages UTF-8 bytes on the stack and writes them out block by block.
class CTextStage {
public:
    explicit CTextStage(COutputStream& stageTarget) : target(stageTarget) {}

    CErrorResult put(uint32_t byte) {
        block[used++] = static_cast<uint8_t>(byte);
        return used == kTextBlock ? flush() : CErrorResult();
    }
    CErrorResult putUnit(uint32_t unit) {
        if (unit < 0x80) return put(unit);
        if (unit < 0x800) {
            LUM_TRY(put(0xC0 | unit >> 6));
            return put(0x80 | (unit & 0x3F));
        }
        if (unit >= kFirstSurrogate && unit <= kLastSurrogate) return {};
        LUM_TRY(put(0xE0 | unit >> 12));
        LUM_TRY(put(0x80 | (unit >> 6 & 0x3F)));
        return put(0x80 | (unit & 0x3F));
    }
    CErrorResult flush() {
        if (used == 0) return {};
        return target.write(block, std::exchange(used, 0));
    }

private:
    COutputStream& target;
    int64_t used = 0;
    uint8_t block[kTextBlock];
};

/// Whether the text is UTF-8 as it stands, as all names of parameters are.
bool isAscii(const CString& text) {
    if (text.isWide()) return false;
    const std::string_view letters(text.text8());
    return std::ranges::all_of(letters, [](char c) { return (c & 0x80) == 0; });
}

CErrorResult finishText(CTextStage& stage, bool withTerminator) {
    if (withTerminator) LUM_TRY(stage.put(0));
    return stage.flush();
}

/// Takes one code point; 0 at the end of the text. Continuation bytes are not checked.
uint32_t nextCodePoint(const uint8_t*& at, const uint8_t* end) {
    while (at < end) {
        const uint32_t lead = *at++;
        if (lead <= 0x7F) return lead;
        int more = 0;
        uint32_t point = 0;
        if ((lead & 0xE0) == 0xC0) {
            more = 1;
            point = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            more = 2;
            point = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            more = 3;
            point = lead & 0x07;
        } else {
            continue;
        }
        if (end - at < more) return 0;
        for (; more > 0; more--) point = point << 6 | (*at++ & 0x3Fu);
        return point;
    }
    return 0;
}

void decodeText(CString& out, const CByteBuffer& bytes) {
    CVector<char16_t, 64> units;
    units.reserve(bytes.size());
    bool isWide = false;
    const uint8_t* at = bytes.data();
    const uint8_t* end = at + bytes.size();
    while (const uint32_t point = nextCodePoint(at, end)) {
        isWide = isWide || point > 0xFF;
        units.push_back(static_cast<char16_t>(point & 0xFFFF));
    }
    if (isWide) {
        out = CString(units.data(), units.size());
        return;
    }
    out.resize(units.size(), false);
    std::transform(units.begin(), units.end(), out.buffer8(),
                   [](char16_t unit) { return static_cast<char>(unit); });
}

} // namespace

// Input

CErrorResult CInputStream::skip(int64_t count) {
    uint8_t block[kSkipBlock];
    while (count > 0) {
        const int64_t part = std::min(count, kSkipBlock);
        LUM_TRY(read(block, part));
        count -= part;
    }
    return {};
}

CErrorResult CInputStream::readStreamed(void* buffer, int64_t& count) {
    return read(buffer, count);
}

CErrorResult CInputStream::readValue(bool& out) {
    uint8_t byte = 0;
    LUM_TRY(read(&byte, 1));
    out = byte != 0;
    return {};
}

CErrorResult CInputStream::readString(CString& out) {
    out.clear();
    int32_t length = 0;
    LUM_TRY(readValue(length));
    if (length > kLongestStreamString)
        return LUM_FAIL("@lumstr_CInputStream_readString_StringDataTooLong "
                        "String length %1 too long in readString().",
                        length);
    if (length <= 0) return {};
    CByteBuffer bytes;
    bytes.resize(static_cast<size_t>(length));
    LUM_TRY(read(bytes.data(), length));
    decodeText(out, bytes);
    return {};
}

CErrorResult CInputStream::readCompressedData(CByteBuffer& out, uint32_t expectedId) {
    uint32_t id = 0;
    LUM_TRY(readValue(id));
    if (id != expectedId)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedData_InvalidData "
                        "Invalid ID encountered when reading compressed data "
                        "(expected %1, read %2).",
                        expectedId, id);
    int32_t size = 0;
    uint32_t check = 0;
    LUM_TRY(readValue(size));
    LUM_TRY(readValue(check));
    const uint32_t computed = adlerOf(&size, sizeof(size));
    if (computed != check)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedData_HeadCRC "
                        "Invalid CRC encountered when reading compressed data "
                        "(expected %1, read %2).",
                        computed, check);
    if (!isSizeAllowed(size, bytesLeft()))
        return LUM_FAIL("@lumstr_CInputStream_readCompressedData_InvalidSize "
                        "Invalid data size %1 encountered when reading compressed data.",
                        size);
    out.resize(static_cast<size_t>(size));
    CInputZipStream zip;
    LUM_TRY(zip.open(*this));
    LUM_TRY(zip.read(out.data(), size));
    LUM_TRY(zip.finish(kUnpackAllowance));
    LUM_TRY(zip.close());
    return {};
}

CErrorResult CInputStream::readCompressedDataLZ4(CByteBuffer& out, uint32_t expectedId) {
    uint32_t id = 0;
    LUM_TRY(readValue(id));
    if (id != expectedId)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedDataLZ4_InvalidData "
                        "Invalid ID encountered when reading compressed data "
                        "(expected %1, read %2).",
                        expectedId, id);
    int32_t sizes[2] = {}; // unpacked, packed
    uint32_t check = 0;
    LUM_TRY(read(sizes, sizeof(sizes)));
    LUM_TRY(readValue(check));
    const uint32_t computed = adlerOf(sizes, sizeof(sizes));
    if (computed != check)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedDataLZ4_HeadCRC "
                        "Invalid CRC encountered when reading compressed data "
                        "(expected %1, read %2).",
                        computed, check);
    return readLZ4Body(out, sizes[0], sizes[1]);
}

CErrorResult CInputStream::readLZ4Body(CByteBuffer& out, int32_t size, int32_t packedSize) {
    const int64_t left = bytesLeft();
    if (packedSize >= 0 && left >= 0 && packedSize > left)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedDataLZ4_EOF Premature end of file.");
    if (packedSize < 0 || size > packedSize * kLargestLZ4Ratio ||
        !isSizeAllowed(size, packedSize) || !isSizeAllowed(packedSize, left))
        return LUM_FAIL("@lumstr_CInputStream_readCompressedDataLZ4_InvalidSize "
                        "Invalid data size %1 (packed %2) encountered when reading compressed "
                        "data.",
                        size, packedSize);
    CByteBuffer packed;
    const void* source = getMemoryPointer();
    if (source) {
        LUM_TRY(skip(packedSize)); // fails before a byte beyond the end is touched
    } else {
        packed.resize(static_cast<size_t>(packedSize));
        LUM_TRY(read(packed.data(), packedSize));
        source = packed.data();
    }
    out.resize(static_cast<size_t>(size));
    const int got = LZ4_decompress_safe(static_cast<const char*>(source),
                                        reinterpret_cast<char*>(out.data()), packedSize, size);
    if (got != size)
        return LUM_FAIL("@lumstr_CInputStream_readCompressedDataLZ4_InvalidData2 "
                        "Invalid uncompressed data (expected %1 bytes, read %2).",
                        size, got);
    return {};
}

// Output

CErrorResult COutputStream::writeUTF8(const char* text, bool withTerminator) {
    CTextStage stage(*this);
    for (; *text; text++) LUM_TRY(stage.putUnit(static_cast<unsigned char>(*text)));
    return finishText(stage, withTerminator);
}

CErrorResult COutputStream::writeUTF8(const char16_t* text, bool withTerminator) {
    CTextStage stage(*this);
    for (; *text; text++) LUM_TRY(stage.putUnit(*text));
    return finishText(stage, withTerminator);
}

CErrorResult COutputStream::writeValue(bool value) {
    const uint8_t byte = value ? 1 : 0;
    return write(&byte, 1);
}

CErrorResult COutputStream::writeString(const CString& text) {
    if (isAscii(text)) {
        const auto length = static_cast<int32_t>(std::strlen(text.text8()));
        LUM_TRY(writeValue(length));
        return write(text.text8(), length);
    }
    CWriteSeqBuffer bytes;
    if (text.isWide())
        LUM_TRY(bytes.writeUTF8(text.text16(), false));
    else
        LUM_TRY(bytes.writeUTF8(text.text8(), false));
    LUM_TRY(writeValue(static_cast<int32_t>(bytes.getSize())));
    return bytes.writeTo(*this);
}

CErrorResult COutputStream::writeCompressedData(const CByteBuffer& data, uint32_t id) {
    if (data.size() > std::numeric_limits<int32_t>::max())
        return LUM_FAIL("@lumstr_COutputStream_writeCompressedData_TooLarge "
                        "Data of %1 bytes too large for compression.",
                        data.size());
    const auto size = static_cast<int32_t>(data.size());
    LUM_TRY(writeValue(id));
    LUM_TRY(writeValue(size));
    LUM_TRY(writeValue(adlerOf(&size, sizeof(size))));
    COutputZipStream zip;
    LUM_TRY(zip.open(*this, kZipLevel));
    if (CErrorResult failure = zip.write(data.data(), size)) {
        logAndDropError(zip.close()); // the first failure is the one to tell
        return addError(std::move(failure), __FILE__, __LINE__, traceName());
    }
    return zip.close();
}

CErrorResult COutputStream::writeCompressedDataLZ4(const CByteBuffer& data, uint32_t id) {
    if (data.size() > LZ4_MAX_INPUT_SIZE)
        return LUM_FAIL("@lumstr_COutputStream_writeCompressedDataLZ4_TooLarge "
                        "Data of %1 bytes too large for compression.",
                        data.size());
    const auto size = static_cast<int32_t>(data.size());
    CByteBuffer packed;
    packed.resize(static_cast<size_t>(LZ4_compressBound(size)));
    const int32_t packedSize = LZ4_compress_HC(reinterpret_cast<const char*>(data.data()),
                                               reinterpret_cast<char*>(packed.data()), size,
                                               static_cast<int>(packed.size()), kLZ4Level);
    const int32_t sizes[2] = {size, packedSize};
    LUM_TRY(writeValue(id));
    LUM_TRY(write(sizes, sizeof(sizes)));
    LUM_TRY(writeValue(adlerOf(sizes, sizeof(sizes))));
    return write(packed.data(), packedSize);
}

// Position

namespace {
constexpr uint64_t kLargestInt = std::numeric_limits<int32_t>::max();
}

CErrorResult CPosStream::getPositionInt(int32_t& out) {
    uint64_t position = 0;
    LUM_TRY(getPosition(position));
    if (position > kLargestInt)
        return LUM_FAIL("@lumstr_CPosStream_getPositionInt_Greater2GB "
                        "The size of the stream is above allowed 2 GB.");
    out = static_cast<int32_t>(position);
    return {};
}

CErrorResult CPosStream::getSizeInt(int32_t& out) {
    uint64_t size = 0;
    LUM_TRY(getSize(size));
    if (size > kLargestInt)
        return LUM_FAIL("@lumstr_CPosStream_getSizeInt_Greater2GB "
                        "The size of the stream is above allowed 2 GB.");
    out = static_cast<int32_t>(size);
    return {};
}

int64_t CPosInputStream::bytesLeft() {
    uint64_t position = 0;
    uint64_t size = 0;
    // A pipe has neither, which is no failure here.
    const bool isKnown = !getPosition(position) && !getSize(size) && size <= INT64_MAX;
    if (!isKnown) return -1;
    return position < size ? static_cast<int64_t>(size - position) : 0;
}

} // namespace lum
