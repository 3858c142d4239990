#pragma once

#include "Core/CLumMemAllocator.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace lum {

/// A block of bytes by value, with room for 64 bytes inside; larger contents come from the pool.
class CByteBuffer {
public:
    CByteBuffer() noexcept = default;
    CByteBuffer(const void* source, size_t count) { assign(source, count); }
    CByteBuffer(const CByteBuffer& other) { assign(other.data(), other.size()); }
    CByteBuffer(CByteBuffer&& other) noexcept { swapWith(other); }
    CByteBuffer& operator=(const CByteBuffer& other) {
        if (this != &other) assign(other.data(), other.size());
        return *this;
    }
    CByteBuffer& operator=(CByteBuffer&& other) noexcept {
        if (this != &other) swapWith(other);
        return *this;
    }
    ~CByteBuffer() {
        if (heap) pool::free(heap);
    }

    /// Sizes the buffer; the content is undefined afterwards.
    void resize(size_t count) {
        if (heap) pool::free(heap);
        heap = count > kInlineBytes ? static_cast<uint8_t*>(pool::alloc(count)) : nullptr;
        bytes = count;
    }
    void assign(const void* source, size_t count) {
        resize(count);
        if (count > 0) std::memcpy(data(), source, count);
    }

    uint8_t* data() noexcept { return heap ? heap : inlineBytes; }
    const uint8_t* data() const noexcept { return heap ? heap : inlineBytes; }
    size_t size() const noexcept { return bytes; }
    bool empty() const noexcept { return bytes == 0; }
    friend bool operator==(const CByteBuffer& a, const CByteBuffer& b) noexcept {
        return a.bytes == b.bytes &&
               (a.bytes == 0 || std::memcmp(a.data(), b.data(), a.bytes) == 0);
    }

private:
    static constexpr size_t kInlineBytes = 64;
    void swapWith(CByteBuffer& other) noexcept {
        std::swap(heap, other.heap);
        std::swap(bytes, other.bytes);
        for (size_t i = 0; i < kInlineBytes; i++) std::swap(inlineBytes[i], other.inlineBytes[i]);
    }

    uint8_t* heap = nullptr;
    size_t bytes = 0;
    uint8_t inlineBytes[kInlineBytes] = {};
};

} // namespace lum
