#include "Core/CZipStream.h"

#include <algorithm>
#include <limits>

namespace lum {

namespace {

constexpr int64_t kLargestStep = std::numeric_limits<uInt>::max(); // bytes zlib takes at a time

voidpf zipAlloc(voidpf, uInt items, uInt size) {
    return pool::alloc(static_cast<size_t>(items) * size);
}
void zipFree(voidpf, voidpf block) {
    if (block) pool::free(block);
}

} // namespace

CZipStream::CZipStream() : zip{} {
    zip.zalloc = zipAlloc;
    zip.zfree = zipFree;
}

const char* CZipStream::zipMessage() const {
    return zip.msg ? zip.msg : "";
}

// Input

CInputZipStream::~CInputZipStream() {
    logAndDropError(close());
}

CErrorResult CInputZipStream::open(CInputStream& newSource) {
    LUM_TRY(close());
    zip.next_in = nullptr;
    zip.avail_in = 0;
    zip.msg = nullptr;
    const int code = inflateInit(&zip);
    if (code != Z_OK)
        return LUM_FAIL("@lumstr_CInputZipStream_open_inflateInit zlib inflateInit error %1 (%2).",
                        code, zipMessage());
    source = &newSource;
    isEnded = false;
    return {};
}

CErrorResult CInputZipStream::close() {
    if (!source) return {};
    source = nullptr;
    const int code = inflateEnd(&zip);
    if (code != Z_OK)
        return LUM_FAIL("@lumstr_CInputZipStream_close_inflateEnd zlib inflateEnd error %1 (%2).",
                        code, zipMessage());
    return {};
}

CErrorResult CInputZipStream::read(void* out, int64_t count) {
    if (!source)
        return LUM_FAIL("@lumstr_CInputZipStream_read_NoStream Input stream not specified.");
    auto* at = static_cast<Bytef*>(out);
    while (count > 0) {
        const int64_t step = std::min(count, kLargestStep);
        zip.next_out = at;
        zip.avail_out = static_cast<uInt>(step);
        LUM_TRY(fill());
        at += step;
        count -= step;
    }
    return {};
}

CErrorResult CInputZipStream::fill() {
    while (zip.avail_out > 0) {
        if (isEnded) return endOfFile();
        LUM_TRY(inflateStep());
    }
    return {};
}

CErrorResult CInputZipStream::finish(int64_t most) {
    uint8_t dropped[4096];
    for (int64_t left = most; !isEnded; left -= static_cast<int64_t>(sizeof dropped)) {
        if (left <= 0)
            return LUM_FAIL("@lumstr_CInputZipStream_finish_TooLong "
                            "More than %1 bytes behind the end of the compressed data.",
                            most);
        zip.next_out = dropped;
        zip.avail_out = sizeof dropped;
        while (zip.avail_out > 0 && !isEnded) LUM_TRY(inflateStep());
    }
    return {};
}

CErrorResult CInputZipStream::inflateStep() {
    if (zip.avail_in == 0) LUM_TRY(refill());
    const int code = inflate(&zip, Z_SYNC_FLUSH);
    isEnded = code == Z_STREAM_END;
    if (code == Z_OK || isEnded) return {};
    return LUM_FAIL("@lumstr_CInputZipStream_read_inflate zlib inflate error %1 (%2).", code,
                    zipMessage());
}

CErrorResult CInputZipStream::refill() {
    int64_t got = kBufferBytes;
    LUM_TRY(source->readStreamed(buffer, got));
    if (got <= 0) return endOfFile();
    zip.next_in = buffer;
    zip.avail_in = static_cast<uInt>(got);
    return {};
}

CErrorResult CInputZipStream::endOfFile() {
    return LUM_FAIL("@lumstr_CInputZipStream_read_EOF Premature end of file.");
}

// Output

COutputZipStream::~COutputZipStream() {
    logAndDropError(close());
}

CErrorResult COutputZipStream::open(COutputStream& newTarget, int level) {
    LUM_TRY(close());
    zip.msg = nullptr;
    const int code = deflateInit(&zip, level);
    if (code != Z_OK)
        return LUM_FAIL("@lumstr_COutputZipStream_open_deflateInit zlib deflateInit error %1 (%2).",
                        code, zipMessage());
    zip.next_out = buffer;
    zip.avail_out = kBufferBytes;
    target = &newTarget;
    return {};
}

CErrorResult COutputZipStream::close() {
    if (!target) return {};
    CErrorResult failure = finish();
    target = nullptr;
    const int code = deflateEnd(&zip);
    if (failure) return failure;
    if (code != Z_OK)
        return LUM_FAIL("@lumstr_COutputZipStream_close_deflateEnd zlib deflateEnd error %1 (%2).",
                        code, zipMessage());
    return {};
}

CErrorResult COutputZipStream::finish() {
    zip.next_in = nullptr;
    zip.avail_in = 0;
    for (;;) {
        const int code = deflate(&zip, Z_FINISH);
        if (code != Z_OK && code != Z_STREAM_END)
            return LUM_FAIL("@lumstr_COutputZipStream_close_deflate zlib deflate error %1 (%2).",
                            code, zipMessage());
        const bool isEnd = code == Z_STREAM_END;
        if (isEnd || zip.avail_out == 0) LUM_TRY(flushBuffer());
        if (isEnd) return {};
    }
}

CErrorResult COutputZipStream::write(const void* bytes, int64_t count) {
    if (!target)
        return LUM_FAIL("@lumstr_COutputZipStream_write_NoStream Output stream not specified.");
    const auto* at = static_cast<const Bytef*>(bytes);
    while (count > 0) {
        const int64_t step = std::min(count, kLargestStep);
        zip.next_in = const_cast<Bytef*>(at);
        zip.avail_in = static_cast<uInt>(step);
        LUM_TRY(deflateStep());
        at += step;
        count -= step;
    }
    return {};
}

CErrorResult COutputZipStream::deflateStep() {
    while (zip.avail_in > 0) {
        const int code = deflate(&zip, Z_NO_FLUSH);
        if (code != Z_OK)
            return LUM_FAIL("@lumstr_COutputZipStream_write_deflate zlib deflate error %1 (%2).",
                            code, zipMessage());
        if (zip.avail_out == 0) LUM_TRY(flushBuffer());
    }
    return {};
}

CErrorResult COutputZipStream::flushBuffer() {
    const int64_t used = kBufferBytes - static_cast<int64_t>(zip.avail_out);
    // The room is free again even when the target refuses the bytes, so that `close` ends.
    zip.next_out = buffer;
    zip.avail_out = kBufferBytes;
    if (used > 0) LUM_TRY(target->write(buffer, used));
    return {};
}

} // namespace lum
