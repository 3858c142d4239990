#include "Audio/CSampleBlock.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace lum {

namespace {

constexpr size_t kDataAlignment = 64; // bytes: a cache line, and more than any vector needs

} // namespace

void CSampleBlock::giveBack() noexcept {
    assert(count == 0);
    pool->giveBack(this);
}

CSampleBlockPool::~CSampleBlockPool() {
    assert(blocksOut == 0);
    for (CSampleBlock*& list : freeLists)
        while (CSampleBlock* block = list) {
            list = block->next;
            destroy(block);
        }
}

CSampleBlockRef CSampleBlockPool::take(int sampleCount) LUM_REALTIME {
    const size_t bytes = bytesOf(sampleCount);
    CSampleBlock* block = findFree(bytes);
    if (!block) block = allocate(bytes);
    block->count = 1;
    blocksOut++;
    return CSampleBlockRef(block);
}

CSampleBlockRef CSampleBlockPool::takeZeroed(int sampleCount) LUM_REALTIME {
    CSampleBlockRef block = take(sampleCount);
    if (sampleCount > 0)
        std::memset(block.samples(), 0, static_cast<size_t>(sampleCount) * sizeof(double));
    return block;
}

void CSampleBlockPool::reserve(int sampleCount, int count) {
    const size_t bytes = bytesOf(sampleCount);
    CSampleBlock*& list = freeLists[classOf(bytes)];
    for (CSampleBlock* block = list; block; block = block->next) count--;
    for (; count > 0; count--) {
        CSampleBlock* block = allocate(bytes);
        block->next = std::exchange(list, block);
    }
}

size_t CSampleBlockPool::bytesOf(int sampleCount) noexcept {
    const size_t bytes = static_cast<size_t>(std::max(sampleCount, 0)) * sizeof(double);
    return std::max(bytes, kSmallest);
}

int CSampleBlockPool::classOf(size_t bytes) noexcept {
    return bytes > kLargest ? kListCount : static_cast<int>((bytes - 1) / kStep);
}

/// A free block of the request's list; null when there is none.
CSampleBlock* CSampleBlockPool::findFree(size_t bytes) noexcept {
    CSampleBlock*& list = freeLists[classOf(bytes)];
    CSampleBlock* block = list;
    if (!block) return nullptr;
    list = block->next;
    if (block->capacityBytes >= bytes) return block;
    destroy(block); // only the list of large blocks holds any that are too small
    return nullptr;
}

CSampleBlock* CSampleBlockPool::allocate(size_t bytes) {
    int sizeClass = classOf(bytes);
    size_t room = sizeClass < kListCount ? kStep * static_cast<size_t>(sizeClass + 1) : bytes;
    void* memory = pool::alloc(sizeof(CSampleBlock) + kDataAlignment + room);
    auto* block = new (memory) CSampleBlock;
    auto start = reinterpret_cast<uintptr_t>(memory) + sizeof(CSampleBlock);
    start = (start + kDataAlignment - 1) / kDataAlignment * kDataAlignment;
    block->allocation = memory;
    block->pool = this;
    block->data = reinterpret_cast<double*>(start);
    block->capacityBytes = room;
    block->sizeClass = sizeClass;
    bytesHeld += room;
    return block;
}

void CSampleBlockPool::destroy(CSampleBlock* block) noexcept {
    void* memory = block->allocation;
    bytesHeld -= block->capacityBytes;
    block->~CSampleBlock();
    pool::free(memory);
}

void CSampleBlockPool::giveBack(CSampleBlock* block) noexcept {
    block->next = std::exchange(freeLists[block->sizeClass], block);
    blocksOut--;
}

} // namespace lum
