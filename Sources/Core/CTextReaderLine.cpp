#include "Core/CTextReaderLine.h"

namespace lum {

namespace {

constexpr size_t kUsualLine = 80; // characters

/// Stores characters in a string whose length runs ahead of what is stored.
class CLineStore {
public:
    explicit CLineStore(CString& line) : out(line) {
        out.clear();
        out.resize(kUsualLine, false);
    }
    void put(char16_t character) {
        if (used == out.length()) out.resize(used + used * 10 / 16 + 1, true);
        if (character > 0xFF && !out.isWide()) out.widen();
        if (out.isWide())
            out.buffer16()[used++] = character;
        else
            out.buffer8()[used++] = static_cast<char>(character);
    }
    void cut() { out.resize(used, true); }

private:
    CString& out;
    size_t used = 0;
};

} // namespace

void CLineReaderBase::init(CInputStream& lineSource, uint8_t* buffer, int64_t bufferBytes) {
    source = &lineSource;
    block = buffer;
    blockBytes = bufferBytes;
    readPointer = buffer;
    bytesLeft = 0;
}

CErrorResult CLineReaderBase::readLine(CString& out, char16_t& terminator) {
    CLineStore store(out);
    for (;;) {
        char16_t character = kStreamEnd;
        CErrorResult failure = readCharacter(character);
        if (failure || character == kStreamEnd || character == kLineEnd) {
            store.cut();
            terminator = failure ? kStreamEnd : character;
            return failure ? addError(std::move(failure), __FILE__, __LINE__, traceName())
                           : CErrorResult();
        }
        if (character != 13) store.put(character);
    }
}

CErrorResult CLineReaderBase::refill(uint8_t& out) {
    out = kStreamEnd;
    int64_t got = blockBytes;
    LUM_TRY(source->readStreamed(block, got));
    if (got <= 0) return {};
    readPointer = block + 1;
    bytesLeft = got - 1;
    out = block[0];
    return {};
}

CErrorResult CLineReaderASCII::readCharacter(char16_t& out) {
    uint8_t byte = 0;
    LUM_TRY(readByte(byte));
    out = byte;
    return {};
}

} // namespace lum
