#include "Core/CMemoryReader.h"
#include "Core/CZipStream.h"
#include "Core/StreamBytes.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>

using namespace lum;

namespace {

/// Text-like data of a fixed seed.
CByteBuffer sampleData(size_t size) {
    std::mt19937 random(3);
    CByteBuffer out;
    out.resize(size);
    for (size_t i = 0; i < size; i++) out.data()[i] = static_cast<uint8_t>('a' + random() % 20);
    return out;
}

CByteBuffer blockOf(const CByteBuffer& data) {
    CWriteSeqBuffer stream;
    EXPECT_FALSE(stream.writeCompressedData(data, kPresetBlock));
    return lum::test::bytesOf(stream);
}

/// Gives a block another size, with the check that belongs to it.
void declareSize(CByteBuffer& block, int32_t size) {
    std::memcpy(block.data() + 4, &size, 4);
    const auto check = static_cast<uint32_t>(adler32(adler32(0, nullptr, 0), block.data() + 4, 4));
    std::memcpy(block.data() + 8, &check, 4);
}

/// A sink that fails at the n-th write.
struct CFailingSink : COutputStream {
    int writesLeft = 0;
    CErrorResult write(const void*, int64_t) override {
        if (writesLeft-- > 0) return {};
        return LUM_FAIL("@lumstr_Test Sink is full.");
    }
};

/// A source of unknown length that gives a few bytes at a time.
struct CTrickle : CInputStream {
    explicit CTrickle(const CByteBuffer& bytes) : inner(bytes) {}
    CErrorResult read(void* out, int64_t count) override { return inner.read(out, count); }
    CErrorResult readStreamed(void* out, int64_t& count) override {
        count = std::min<int64_t>(count, 3);
        return inner.readStreamed(out, count);
    }
    CMemoryReader inner;
};

} // namespace

TEST(ZipStream, blocksOfAnySizeComeBack) {
    for (const size_t size :
         std::initializer_list<size_t>{0, 1, 64, 65, 32767, 32768, 32769, 400000}) {
        const CByteBuffer data = sampleData(size);
        const CByteBuffer block = blockOf(data);
        CByteBuffer out;
        CMemoryReader reader(block);
        ASSERT_FALSE(reader.readCompressedData(out, kPresetBlock));
        EXPECT_EQ(out, data);
        CTrickle trickle(block);
        ASSERT_FALSE(trickle.readCompressedData(out, kPresetBlock));
        EXPECT_EQ(out, data);
    }
}

TEST(ZipStream, wrongHeadsAreToldInWords) {
    const uint8_t head[] = {'a', 'p', 'r', 's', 0xD5, 0x32, 0, 0, 0x08, 0x01, 0xEE, 0x03};
    EXPECT_EQ(std::memcmp(blockOf(sampleData(0x32D5)).data(), head, sizeof(head)), 0);
    const CByteBuffer good = blockOf(sampleData(200));
    CByteBuffer badCheck = good;
    badCheck.data()[4]++;
    const struct {
        CByteBuffer block;
        uint32_t id;
        const char* message;
    } rows[] = {
        {good, kBankBlock,
         "Invalid ID encountered when reading compressed data (expected 1802396257, read "
         "1936879713)."},
        {badCheck, kPresetBlock,
         "Invalid CRC encountered when reading compressed data (expected 52953290, read "
         "52691145)."},
        {CByteBuffer(good.data(), 10), kPresetBlock,
         "Premature end of memory resource while reading (pos 8, count 4, size 10)."},
        {CByteBuffer(good.data(), 12), kPresetBlock, "Premature end of file."},
        {CByteBuffer(good.data(), good.size() - 20), kPresetBlock, "Premature end of file."},
        {CByteBuffer(good.data(), good.size() - 1), kPresetBlock, "Premature end of file."},
    };
    for (const auto& row : rows) {
        CMemoryReader reader(row.block);
        CByteBuffer out;
        EXPECT_EQ(reader.readCompressedData(out, row.id).line(0).toUtf8(), row.message);
    }
}

TEST(ZipStream, aDeclaredSizeIsCheckedAgainstTheBytes) {
    const CByteBuffer data = sampleData(200);
    const struct {
        int32_t size;
        const char* message;
    } rows[] = {
        {199, ""},
        {0, ""},
        {201, "Premature end of file."},
        {8000000, "Premature end of file."},
        {9000000, "Invalid data size 9000000 encountered when reading compressed data."},
        {INT32_MAX, "Invalid data size 2147483647 encountered when reading compressed data."},
        {-1, "Invalid data size -1 encountered when reading compressed data."},
    };
    for (const auto& row : rows) {
        CByteBuffer block = blockOf(data);
        declareSize(block, row.size);
        CMemoryReader reader(block);
        CByteBuffer out;
        EXPECT_EQ(reader.readCompressedData(out, kPresetBlock).line(0), row.message);
        if (row.message[0] == 0) {
            EXPECT_EQ(out, CByteBuffer(data.data(), static_cast<size_t>(row.size)));
        }
    }
}

TEST(ZipStream, aDamagedBlockIsRefusedUnlessItsDataIsWhole) {
    const CByteBuffer data = sampleData(80);
    CByteBuffer block = blockOf(data);
    int unseen = 0;
    for (size_t i = 0; i < block.size(); i++) {
        for (int change = 1; change < 256; change++) {
            block.data()[i] = static_cast<uint8_t>(block.data()[i] ^ change);
            CMemoryReader reader(block);
            CByteBuffer out;
            const bool isRefused = static_cast<bool>(reader.readCompressedData(out, kPresetBlock));
            unseen += !isRefused && !(out == data);
            block.data()[i] = static_cast<uint8_t>(block.data()[i] ^ change);
        }
    }
    EXPECT_LE(unseen, 2); // of 25,000: three letters that change can leave an Adler-32 as it was
}

TEST(ZipStream, aTargetThatFailsAtAnyWriteIsReported) {
    std::mt19937 random(5);
    CByteBuffer data;
    data.resize(100000); // noise: four full buffers and a rest
    for (size_t i = 0; i < data.size(); i++) data.data()[i] = static_cast<uint8_t>(random());
    int writes = 0;
    for (;; writes++) {
        CFailingSink sink;
        sink.writesLeft = writes;
        const CErrorResult failure = sink.writeCompressedData(data, kDataBlock);
        if (!failure) break;
        ASSERT_EQ(failure.line(0), "Sink is full.");
        ASSERT_LT(writes, 20);
    }
    EXPECT_EQ(writes, 3 + 4);
}

TEST(ZipStream, closedStreamsRefuseAndReopenedOnesWork) {
    CInputZipStream input;
    COutputZipStream output;
    char out[8] = {};
    EXPECT_EQ(input.read(out, 1).line(0), "Input stream not specified.");
    EXPECT_EQ(output.write("x", 1).line(0), "Output stream not specified.");
    for (int round = 0; round < 2; round++) {
        CWriteSeqBuffer packed;
        ASSERT_FALSE(output.open(packed, 5));
        ASSERT_FALSE(output.write("abcdefg", 7));
        ASSERT_FALSE(output.close());
        ASSERT_FALSE(output.close());
        const CByteBuffer bytes = lum::test::bytesOf(packed);
        CMemoryReader reader(bytes);
        ASSERT_FALSE(input.open(reader)); // the second time without a close
        ASSERT_FALSE(input.read(out, 3));
        ASSERT_FALSE(input.read(out + 3, 4));
        EXPECT_STREQ(out, "abcdefg");
        EXPECT_EQ(input.read(out, 1).line(0), "Premature end of file.");
    }
}
