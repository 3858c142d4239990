#include "Core/CMemoryReader.h"
#include "Core/StreamBytes.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <zlib.h>

using namespace lum;
using lum::test::bytesOf;

namespace {

std::string textOf(const CByteBuffer& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The stream form of a text whose UTF-8 bytes are given as they are.
CByteBuffer streamedText(int32_t length, const std::string& bytes) {
    CWriteSeqBuffer stream;
    EXPECT_FALSE(stream.writeValue(length));
    EXPECT_FALSE(stream.write(bytes.data(), static_cast<int64_t>(bytes.size())));
    return bytesOf(stream);
}

CByteBuffer noise(size_t count, uint32_t alphabet) {
    std::mt19937 random(7);
    CByteBuffer out;
    out.resize(count);
    for (size_t i = 0; i < count; i++) out.data()[i] = static_cast<uint8_t>(random() % alphabet);
    return out;
}

} // namespace

TEST(Stream, textsAreWrittenAsUtf8UpToTheirFirstNul) {
    const struct {
        CString text;
        std::string bytes;
    } rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"\xE9", "\xC3\xA9"},
        {CString("ab\0cd", 5), "ab"},
        {u"\u20AC", "\xE2\x82\xAC"},
        {u"a\U0001F600b", "ab"}, // a surrogate pair leaves no trace
        {CString(std::string(700, '\xFF')),
         [] {
             std::string all;
             for (int i = 0; i < 700; i++) all += "\xC3\xBF";
             return all;
         }()},
    };
    for (const auto& row : rows) {
        CWriteSeqBuffer stream;
        ASSERT_FALSE(stream.writeString(row.text));
        EXPECT_EQ(bytesOf(stream), streamedText(static_cast<int32_t>(row.bytes.size()), row.bytes));
    }
    CWriteSeqBuffer terminated;
    ASSERT_FALSE(terminated.writeUTF8(u"\u00E9", true));
    EXPECT_EQ(textOf(bytesOf(terminated)), std::string("\xC3\xA9\0", 3));
}

TEST(Stream, anyBytesDecodeToSomeText) {
    const struct {
        std::string bytes;
        CString text;
    } rows[] = {
        {"\xC3\xA9", "\xE9"},          // stays 8-bit
        {"a\xE2\x82\xAC", u"a\u20AC"}, // widens
        {"a\x80\xFF"
         "b",
         "ab"},                           // neither makes a character
        {"ab\xE2\x82", "ab"},             // cut short at the end
        {std::string("ab\0cd", 5), "ab"}, // a NUL ends
        {"\xF0\x9F\x98\x80", u"\xF600"},  // keeps the low 16 bits
        {"\xC3\x41", "\xC1"},             // continuation bytes are not checked
    };
    for (const auto& row : rows) {
        const CByteBuffer bytes = streamedText(static_cast<int32_t>(row.bytes.size()), row.bytes);
        CMemoryReader reader(bytes);
        CString out = u"\u20AC";
        ASSERT_FALSE(reader.readString(out));
        EXPECT_EQ(out, row.text);
        EXPECT_EQ(out.isWide(), row.text.isWide());
    }
}

TEST(Stream, aTextLengthIsCheckedBeforeTheTextIsRead) {
    const struct {
        int32_t length;
        size_t bytes;
        const char* message; // empty: no failure
    } rows[] = {
        {61440, 61440, ""},
        {61441, 61441, "String length 61441 too long in readString()."},
        {INT32_MAX, 0, "String length 2147483647 too long in readString()."},
        {-1, 0, ""},
        {INT32_MIN, 0, ""},
        {10, 9, "Premature end of memory resource while reading (pos 4, count 10, size 13)."},
    };
    for (const auto& row : rows) {
        const CByteBuffer bytes = streamedText(row.length, std::string(row.bytes, 'x'));
        CMemoryReader reader(bytes);
        CString out("old");
        const CErrorResult failure = reader.readString(out);
        EXPECT_EQ(failure.line(0), row.message) << row.length;
        EXPECT_EQ(out.length(), row.message[0] || row.length < 0 ? 0u : row.bytes);
    }
}

TEST(Stream, memoryReadersStayWithinTheirBytes) {
    const char data[] = "0123456789";
    char out[16];
    CMemoryReaderStatic reader(data, 10);
    ASSERT_FALSE(reader.skip(4));
    EXPECT_EQ(reader.getMemoryPointer(), data + 4);
    EXPECT_EQ(reader.read(out, 7).line(0),
              "Premature end of memory resource while reading (pos 4, count 7, size 10).");
    EXPECT_EQ(reader.skip(INT64_MAX).line(0),
              "Premature end of memory resource while skipping (pos 4, count 9223372036854775807, "
              "size 10).");
    EXPECT_TRUE(reader.skip(-5));
    EXPECT_TRUE(reader.read(out, -1));
    ASSERT_FALSE(reader.read(out, 6)); // the failures moved nothing
    EXPECT_EQ(std::string(out, 6), "456789");
    EXPECT_EQ(reader.getMemoryPointer(), nullptr);
    int64_t count = 5;
    ASSERT_FALSE(reader.readStreamed(out, count));
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(reader.setPosition(10));
    EXPECT_EQ(reader.setPosition(11).line(0),
              "Positioning beyond memory resource end (newpos 11, size 10).");
}

TEST(Stream, theWriteBufferGrowsByItsTableAndKeepsEveryByte) {
    // Bytes written in one call, and the chunks there are afterwards.
    const std::pair<int64_t, int> steps[] = {{1024, 1},  {1, 2},     {2047, 2},   {3000, 3},
                                             {1, 4},     {2048, 5},  {2048, 6},   {2048, 7},
                                             {16384, 8}, {16384, 9}, {40000, 10}, {0, 10}};
    CWriteSeqBuffer stream;
    for (int round = 0; round < 2; round++, stream.reset()) {
        std::string all;
        for (const auto& [count, chunks] : steps) {
            const CByteBuffer part = noise(static_cast<size_t>(count), 256);
            ASSERT_FALSE(stream.write(part.data(), count));
            all += textOf(part);
            EXPECT_EQ(stream.chunkCount(), chunks) << count;
        }
        EXPECT_EQ(stream.getSize(), static_cast<int64_t>(all.size()));
        EXPECT_EQ(textOf(bytesOf(stream)), all);
        CWriteSeqBuffer copy;
        ASSERT_FALSE(stream.writeTo(copy));
        EXPECT_EQ(textOf(bytesOf(copy)), all);
    }
    EXPECT_EQ(stream.getSize(), 0);
}

TEST(Stream, lz4BlocksComeBackInPlaceAndByCopy) {
    for (const size_t size : std::initializer_list<size_t>{0, 1, 63, 64, 65, 5000, 40000}) {
        const CByteBuffer data = noise(size, 3);
        CWriteSeqBuffer stream;
        ASSERT_FALSE(stream.writeCompressedDataLZ4(data, kDataBlock));
        ASSERT_FALSE(stream.writeValue(int32_t{4711}));
        const CByteBuffer block = bytesOf(stream);
        CMemoryReaderStatic inPlace(block);
        CMemoryReader copying(block);
        for (CMemoryReader* reader : {static_cast<CMemoryReader*>(&inPlace), &copying}) {
            CByteBuffer out;
            int32_t next = 0;
            ASSERT_FALSE(reader->readCompressedDataLZ4(out, kDataBlock));
            EXPECT_EQ(out, data);
            ASSERT_FALSE(reader->readValue(next)); // the block ends where it says
            EXPECT_EQ(next, 4711);
        }
    }
}

TEST(Stream, lz4SizesAreCheckedAgainstTheBytesBeforeMemoryIsTaken) {
    const struct {
        int32_t size, packedSize;
        const char* message;
    } rows[] = {
        {-1, 20, "Invalid data size -1 (packed 20) encountered when reading compressed data."},
        {20, -1, "Invalid data size 20 (packed -1) encountered when reading compressed data."},
        {20, INT32_MAX, "Premature end of file."},
        {5101, 20, "Invalid data size 5101 (packed 20) encountered when reading compressed data."},
        {99, 20, "Invalid uncompressed data (expected 99 bytes, read "},
    };
    for (const auto& row : rows) {
        // A header with the right check, and twenty bytes that are no packed data.
        const int32_t sizes[2] = {row.size, row.packedSize};
        CWriteSeqBuffer stream;
        ASSERT_FALSE(stream.writeValue(uint32_t{0}));
        ASSERT_FALSE(stream.write(sizes, sizeof(sizes)));
        ASSERT_FALSE(stream.writeValue(static_cast<uint32_t>(
            adler32(adler32(0, nullptr, 0), reinterpret_cast<const Bytef*>(sizes), 8))));
        ASSERT_FALSE(stream.write(noise(20, 256).data(), 20));
        const CByteBuffer block = bytesOf(stream);
        CMemoryReaderStatic reader(block);
        CByteBuffer out;
        EXPECT_TRUE(reader.readCompressedDataLZ4(out, 0).line(0).startsWith(row.message));
    }
}
