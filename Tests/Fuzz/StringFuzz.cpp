#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <cstdlib>

using namespace lum;

namespace {

bool readText(const CByteBuffer& bytes, CString& out) {
    CMemoryReader reader(bytes);
    return !reader.readString(out);
}

CByteBuffer writtenText(const CString& text) {
    CWriteSeqBuffer stream;
    if (stream.writeString(text)) std::abort();
    CByteBuffer out;
    stream.getBytes(out);
    return out;
}

} // namespace

/// Reads the bytes as a text; one that was read and written comes back as it is.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CString text;
    if (!readText(CByteBuffer(data, size), text)) return 0;
    CString once;
    if (!readText(writtenText(text), once)) return 0; // longer than before, and so too long
    CString twice;
    if (!readText(writtenText(once), twice) || !(once == twice)) std::abort();
    return 0;
}
