#pragma once

#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <cstdlib>

/// The bytes that something loaded from these bytes saves to; false where they do not load.
template <class T>
bool reloaded(const lum::CByteBuffer& bytes, lum::CByteBuffer& out) {
    lum::CMemoryReader reader(bytes);
    T loaded;
    if (lum::CErrorResult error = loaded.load(reader)) {
        logAndDropError(std::move(error));
        return false;
    }
    lum::CWriteSeqBuffer stream;
    if (loaded.save(stream)) std::abort();
    stream.getBytes(out);
    return true;
}

/// Reads the bytes; what was read and saved keeps its form. It may take two rounds: a text loses
/// what cannot be written, and by that two names may become one.
template <class T>
int fuzzStreamForm(const uint8_t* bytes, size_t size) {
    lum::CByteBuffer once;
    if (!reloaded<T>(lum::CByteBuffer(bytes, size), once)) return 0;
    lum::CByteBuffer twice;
    lum::CByteBuffer again;
    if (!reloaded<T>(once, twice) || !reloaded<T>(twice, again)) std::abort();
    if (!(twice == again)) std::abort();
    return 0;
}
