#include "Core/CLumMemAllocator.h"

#include "Core/CLog.h"
#include "Core/CRealtimeScope.h"
#include "Platform/File.h"
#include "Platform/Lock.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef __SANITIZE_ADDRESS__
#define LUM_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUM_POOL_POISONS 1
#endif
#endif
#ifdef LUM_POOL_POISONS
#include <sanitizer/asan_interface.h>
#endif

// Memory around a block, which starts on a 16-byte boundary:
//
//   pooled: [ link 8 | unused 7 | class 1 ][ user bytes, class * 16 + 16 ]
//   large:  [ up to 20 bytes, of which the first 16 hold 0 to 15 | ... ]
//           with the requested size in bytes -5 to -2 and 255 in byte -1
//
// The link of a free block is an atomic in front of the user bytes, so that a thread which still
// reads the link of a block that another has just taken races with nobody.
namespace lum::pool {

namespace {

constexpr size_t kHeader = 16;     // bytes in front of a pooled block
constexpr size_t kChunkSlack = 20; // bytes of a chunk beside its blocks
constexpr size_t kChunkFront = 21; // the first block starts at least so far in
constexpr size_t kLargeSlack = 21; // bytes of a large system block beside the user's
constexpr size_t kRulerBytes = 16; // numbered bytes at the start of a large system block
constexpr int kRulerPosition = 6;  // bytes before the user's pointer where the ruler is read
constexpr int kSizePosition = 5;   // bytes before the user's pointer where a large size stands
constexpr size_t kFirstRefill = 4; // blocks

constexpr int kAddressBits = 43; // 47-bit user addresses in units of 16 bytes
constexpr uint64_t kAddressMask = (uint64_t{1} << kAddressBits) - 1;
constexpr uint64_t kGenerationStep = uint64_t{1} << kAddressBits;

#ifdef LUM_POOL_POISONS
void hide(const void* block, size_t size) {
    __asan_poison_memory_region(block, size);
}
void show(const void* block, size_t size) {
    __asan_unpoison_memory_region(block, size);
}
#else
void hide(const void*, size_t) {}
void show(const void*, size_t) {}
#endif

unsigned char* bytesOf(void* block) {
    return static_cast<unsigned char*>(block);
}
const unsigned char* bytesOf(const void* block) {
    return static_cast<const unsigned char*>(block);
}

unsigned char* alignUp(unsigned char* address) {
    const auto value = reinterpret_cast<uintptr_t>(address);
    return address + (kAlignment - value % kAlignment) % kAlignment;
}

using Link = std::atomic<uint64_t>; // next free block in units of 16 bytes, 0 for none

Link& linkOf(void* block) {
    return *std::launder(reinterpret_cast<Link*>(bytesOf(block) - kHeader));
}
uint64_t packed(const void* block) {
    return reinterpret_cast<uintptr_t>(block) / kAlignment;
}
void* unpacked(uint64_t head) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>((head & kAddressMask) * kAlignment));
}

/// A system block that was cut into pool blocks.
struct CChunk {
    CChunk* next;
};

// One cache line each, so that threads in different classes do not slow each other down.
struct alignas(64) CSizeClass {
    void* pop() noexcept;
    void push(void* block) noexcept;
    void* refill() noexcept;
    void* cutChunk() noexcept;
    void releaseChunks() noexcept;

    platform::CSpinLock lock; // of refill count and chunk chain; only ever tried
    size_t limit = 0;         // largest refill count
    size_t stride = 0;        // bytes from block to block
    size_t refillCount = kFirstRefill;
    CChunk* chunks = nullptr;
    std::atomic<uint64_t> head{0}; // generation above, first free block below
    uint8_t number = 0;
};

constexpr size_t refillLimit(size_t stride) {
    return stride >= 1024 ? 64 : stride >= 512 ? 128 : stride >= 256 ? 256 : 384;
}

struct CClassTable {
    constexpr CClassTable() {
        for (size_t c = 0; c < kLargeClass; c++) {
            records[c].stride = c * kAlignment + kAlignment + kHeader;
            records[c].limit = refillLimit(records[c].stride);
            records[c].number = static_cast<uint8_t>(c);
        }
    }
    std::array<CSizeClass, kLargeClass> records;
};

constinit CClassTable classTable;

constinit bool isReleaseDue = false;

/// Runs behind the last static destructor of the module, which may still give blocks back.
__attribute__((destructor(101))) void releaseChunks() {
    if (!isReleaseDue) return;
    for (CSizeClass& record : classTable.records) record.releaseChunks();
}

/// Whoever asks for memory expects a block, so there is no way on without one. The shipped form has
/// no log; the line on standard error tells why the host is gone. Nothing here allocates.
[[noreturn]] void refuse(size_t size) {
    logFormat("The system refused %zu bytes of memory.", size);
    char line[80];
    const int length =
        std::snprintf(line, sizeof line, "The system refused %zu bytes of memory.\n", size);
    uint64_t written = 0;
    (void)platform::writeFile(platform::standardFile(platform::StandardFile::Error), line,
                              static_cast<size_t>(length), written);
    std::abort();
}

void* systemAlloc(size_t size) {
    void* memory = std::malloc(size);
    if (!memory) refuse(size);
    return memory;
}

void* CSizeClass::pop() noexcept {
    uint64_t seen = head.load(std::memory_order_acquire);
    while (seen & kAddressMask) {
        void* block = unpacked(seen);
        // The block may be gone and the link stale by now; the generation then makes the exchange
        // fail.
        const uint64_t next = linkOf(block).load(std::memory_order_relaxed);
        const uint64_t wanted = ((seen & ~kAddressMask) + kGenerationStep) | next;
        if (head.compare_exchange_weak(seen, wanted, std::memory_order_acq_rel,
                                       std::memory_order_acquire))
            return block;
    }
    return nullptr;
}

void CSizeClass::push(void* block) noexcept {
    uint64_t seen = head.load(std::memory_order_relaxed);
    uint64_t wanted = 0;
    do {
        linkOf(block).store(seen & kAddressMask, std::memory_order_relaxed);
        wanted = (seen & ~kAddressMask) | packed(block);
    } while (!head.compare_exchange_weak(seen, wanted, std::memory_order_acq_rel,
                                         std::memory_order_relaxed));
}

void* CSizeClass::refill() noexcept {
    platform::CSpinWait wait;
    while (!lock.tryEnter()) {
        if (void* block = pop()) return block;
        wait.step();
    }
    void* block = cutChunk();
    if (refillCount < limit) refillCount += (refillCount * 10) >> 4; // 4, 6, 9, 14, ...
    lock.leave();
    return block;
}

void* CSizeClass::cutChunk() noexcept {
    auto* chunk = static_cast<unsigned char*>(systemAlloc(refillCount * stride + kChunkSlack));
    chunks = new (chunk) CChunk{chunks};
    unsigned char* first = alignUp(chunk + kChunkFront);
    for (size_t i = refillCount; i-- > 0;) {
        unsigned char* block = first + i * stride;
        new (block - kHeader) Link(0);
        block[-1] = number;
        if (i == 0) break;
        hide(block, stride - kHeader);
        push(block);
    }
    return first;
}

void CSizeClass::releaseChunks() noexcept {
    head.store(0, std::memory_order_relaxed);
    refillCount = kFirstRefill;
    while (CChunk* chunk = chunks) {
        chunks = chunk->next;
        std::free(chunk);
    }
}

void* allocLarge(size_t size) {
    if (size > UINT32_MAX) refuse(size); // the size field in front of the block has 32 bits
    auto* memory = static_cast<unsigned char*>(systemAlloc(size + kLargeSlack));
    for (size_t i = 0; i < kRulerBytes; i++) memory[i] = static_cast<unsigned char>(i);
    unsigned char* block = alignUp(memory + kRulerPosition); // at most 21 bytes in
    const auto stored = static_cast<uint32_t>(size);
    std::memcpy(block - kSizePosition, &stored, sizeof stored);
    block[-1] = kLargeClass;
    return block;
}

void* systemBlockOf(void* block) {
    return bytesOf(block) - bytesOf(block)[-kRulerPosition] - kRulerPosition;
}

size_t largeSize(const void* block) {
    uint32_t stored = 0;
    std::memcpy(&stored, bytesOf(block) - kSizePosition, sizeof stored);
    return stored;
}

} // namespace

void* alloc(size_t size) noexcept {
    assert(!CRealtimeScope::isOpen());
    const size_t c = sizeClass(size);
    if (c >= kLargeClass) return allocLarge(size);
    CSizeClass& record = classTable.records[c];
    void* block = record.pop();
    if (!block) block = record.refill();
    show(block, size);
    return block;
}

void free(void* block) noexcept {
    const int c = bytesOf(block)[-1];
    if (c == kLargeClass) {
        std::free(systemBlockOf(block));
        return;
    }
    CSizeClass& record = classTable.records[static_cast<size_t>(c)];
    hide(block, record.stride - kHeader);
    record.push(block);
}

size_t capacityOf(const void* block) noexcept {
    const size_t c = bytesOf(block)[-1];
    if (c == kLargeClass) return largeSize(block);
    show(block, c * kAlignment + kAlignment); // who asks may use all of it
    return c * kAlignment + kAlignment;
}

void* realloc(void* block, size_t size) noexcept {
    if (!block) return alloc(size);
    const size_t old = capacityOf(block);
    if (size == old) return block;
    void* fresh = alloc(size);
    std::memcpy(fresh, block, std::min(old, size));
    free(block);
    return fresh;
}

void releaseAll() noexcept {
    isReleaseDue = true;
}

} // namespace lum::pool
