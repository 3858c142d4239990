#pragma once

#include "Core/CStream.h"

namespace lum {

constexpr char16_t kLineEnd = 10;  // terminator of a line
constexpr char16_t kStreamEnd = 0; // terminator of the text after the last line end

/// Takes characters from a stream through a buffer of its owner and makes lines of them. The
/// subclass tells how bytes make a character.
class CLineReaderBase : public virtual CCheckedObject {
public:
    /// buffer: not owned; holds what is read ahead.
    void init(CInputStream& lineSource, uint8_t* buffer, int64_t bufferBytes);
    /// Reads up to a line feed or the end of the stream, of any length, without carriage returns.
    /// terminator: kLineEnd or kStreamEnd. A NUL character counts as the end of the stream.
    CErrorResult readLine(CString& out, char16_t& terminator);

protected:
    /// Takes a character; 0 at the end of the stream.
    virtual CErrorResult readCharacter(char16_t& out) = 0;
    /// Takes a byte; 0 at the end of the stream.
    CErrorResult readByte(uint8_t& out) {
        if (bytesLeft == 0) return refill(out);
        bytesLeft--;
        out = *readPointer++;
        return {};
    }

private:
    CErrorResult refill(uint8_t& out);

    CInputStream* source = nullptr;
    uint8_t* block = nullptr;
    int64_t blockBytes = 0;
    const uint8_t* readPointer = nullptr;
    int64_t bytesLeft = 0;
};

/// One byte is one character.
class CLineReaderASCII : public CLineReaderBase {
protected:
    CErrorResult readCharacter(char16_t& out) override;
};

/// Reads the lines of a text stream. One user at a time.
class CTextReaderLine : public CLumMemAllocator {
public:
    explicit CTextReaderLine(CInputStream& source) { reader.init(source, buffer, kBufferBytes); }
    CTextReaderLine(const CTextReaderLine&) = delete;
    CTextReaderLine& operator=(const CTextReaderLine&) = delete;

    /// As CLineReaderBase::readLine.
    CErrorResult readLine(CString& out, char16_t& terminator) {
        return reader.readLine(out, terminator);
    }

private:
    static constexpr int64_t kBufferBytes = 16384;
    CLineReaderASCII reader;
    uint8_t buffer[kBufferBytes];
};

} // namespace lum
