#pragma once

#include "Core/CLumMemAllocator.h"
#include "Core/CVector.h"
#include "Core/Realtime.h"

#include <cstdint>

namespace lum {

class CSampleBlockPool;

/// A counted array of 64-bit samples out of a pool. A buffer passes between processes by reference;
/// nobody writes into a block whose count is above 1. Audio thread (and set-up).
class CSampleBlock {
public:
    double* samples() noexcept { return data; }
    const double* samples() const noexcept { return data; }
    /// Room in samples.
    int capacity() const noexcept { return static_cast<int>(capacityBytes / sizeof(double)); }
    bool isShared() const noexcept { return count > 1; }
    void addReference() noexcept { count++; }
    /// Gives the block back to its pool when the last reference goes.
    void release() noexcept {
        if (--count == 0) giveBack();
    }

private:
    friend class CSampleBlockPool;
    CSampleBlock() = default;
    void giveBack() noexcept;

    void* allocation = nullptr;
    CSampleBlockPool* pool = nullptr;
    CSampleBlock* next = nullptr; // link of a free list
    double* data = nullptr;       // 64-byte aligned
    size_t capacityBytes = 0;
    int sizeClass = 0;
    int count = 0;
};

/// A reference to a block, null when empty.
class CSampleBlockRef {
public:
    CSampleBlockRef() noexcept = default;
    /// Takes over one reference.
    explicit CSampleBlockRef(CSampleBlock* owned) noexcept : block(owned) {}
    CSampleBlockRef(const CSampleBlockRef& other) noexcept : block(other.block) {
        if (block) block->addReference();
    }
    CSampleBlockRef(CSampleBlockRef&& other) noexcept
        : block(std::exchange(other.block, nullptr)) {}
    CSampleBlockRef& operator=(CSampleBlockRef other) noexcept {
        std::swap(block, other.block);
        return *this;
    }
    ~CSampleBlockRef() { reset(); }
    void reset() noexcept {
        if (CSampleBlock* old = std::exchange(block, nullptr)) old->release();
    }
    explicit operator bool() const noexcept { return block != nullptr; }
    CSampleBlock* get() const noexcept { return block; }
    CSampleBlock* operator->() const noexcept { return block; }
    double* samples() const noexcept { return block->samples(); }

private:
    CSampleBlock* block = nullptr;
};

/// The longest piece in which an instance runs a block of the host, in samples.
constexpr int kLongestSubBlock = 512;

/// The sample blocks of one graph: 128 free lists in steps of 512 bytes and one for all larger
/// blocks. Requests up to the longest sub-block share one list, so that the length of the host's
/// blocks makes no difference; above that a list serves its own sizes alone. So what a piece of
/// work has once taken and given back it can take again, whatever came between, and nothing is
/// allocated. Audio thread, or the thread that sets the graph up.
class CSampleBlockPool {
public:
    CSampleBlockPool() = default;
    ~CSampleBlockPool(); // all blocks must be back
    CSampleBlockPool(const CSampleBlockPool&) = delete;
    CSampleBlockPool& operator=(const CSampleBlockPool&) = delete;

    /// A block of at least `sampleCount` samples with one reference; the content is undefined.
    CSampleBlockRef take(int sampleCount) LUM_REALTIME;
    /// A block of zeros.
    CSampleBlockRef takeZeroed(int sampleCount) LUM_REALTIME;
    /// Makes sure that at least `count` blocks of this size are free. Allocates: for set-up.
    void reserve(int sampleCount, int count);
    /// Blocks that are in use.
    int getBlocksOut() const noexcept { return blocksOut; }
    /// Bytes of samples that the pool holds, in use or free.
    size_t getBytes() const noexcept { return bytesHeld; }

private:
    friend class CSampleBlock;
    static constexpr int kListCount = 128;
    static constexpr size_t kStep = 512; // bytes
    static constexpr size_t kSmallest = kLongestSubBlock * sizeof(double);
    static constexpr size_t kLargest = 65536; // bytes of the largest listed block
    static size_t bytesOf(int sampleCount) noexcept;
    static int classOf(size_t bytes) noexcept;
    CSampleBlock* allocate(size_t bytes);
    CSampleBlock* findFree(size_t bytes) noexcept;
    void destroy(CSampleBlock* block) noexcept;
    void giveBack(CSampleBlock* block) noexcept;

    CSampleBlock* freeLists[kListCount + 1] = {}; // the last one holds all larger blocks
    int blocksOut = 0;
    size_t bytesHeld = 0;
};

} // namespace lum
