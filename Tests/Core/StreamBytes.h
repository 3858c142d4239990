#pragma once

#include "Core/CWriteSeqBuffer.h"

#include <gtest/gtest.h>

namespace lum::test {

/// What was written to a stream.
inline CByteBuffer bytesOf(const CWriteSeqBuffer& stream) {
    CByteBuffer bytes;
    stream.getBytes(bytes);
    return bytes;
}

/// What an object saves.
template <class T>
CByteBuffer bytesOf(const T& object) {
    CWriteSeqBuffer stream;
    EXPECT_FALSE(object.save(stream));
    return bytesOf(stream);
}

} // namespace lum::test
